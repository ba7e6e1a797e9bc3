#pragma once

#include "sdk_export.h"

#include <QObject>
#include <QStringList>

class QMetElement;
class QMetReader;

/// The metrics of one or more files as one tree, with every derived value
/// made once, while it loads. Only the testing time changes afterwards, with
/// the divisor the user sets.
class SDK_EXPORT QMetTree : public QObject
{
    Q_OBJECT
public:
    explicit QMetTree(const QStringList& files, QObject* parent = nullptr);
    ~QMetTree() override;

    /// Builds the tree from the files read, and completes it.
    void init();
    void buildMetTree();
    void completeTree();

    QMetElement* root() const { return _root; }
    QMetReader* reader() const { return _reader; }
    /// The tree as indented text, for diagnostics.
    QString displayTree() const;

public slots:
    /// Testing time becomes the Halstead effort divided by \a stroud, on the
    /// root and on each file; 0 leaves the values as they are.
    void stroudChange(float stroud);
    void stroudChanged(float stroud);

private:
    QMetReader* _reader;
    QMetElement* _root = nullptr;
};
