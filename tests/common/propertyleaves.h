#pragma once

#include "qapropertystore.h"

#include <QString>

class QAProperty;

/// A store that inherits from another, as a configuration does.
class ChainedStore : public QAPropertyStore
{
public:
    explicit ChainedStore(QAPropertyStore* base = nullptr) : base(base) {}
    QAPropertyStore* inheritOf() const override { return base; }
    QAPropertyStore* base;
};

/// A store-bound leaf of \a kind (a definition file's type word) under
/// \a key, with limits, a suffix and choices that the tests rely on: Int
/// 0..100 by 5 in " ms"; ComboInt None 0, Low 1, High 2; ComboString
/// Debug "-g", Optimised "-O2". Null for an unknown word.
QAProperty* makeMapLeaf(const QString& kind, const QString& key);
