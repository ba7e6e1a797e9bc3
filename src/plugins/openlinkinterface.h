#pragma once

#include "qunknowninterface.h"

#include <QString>

class QWidget;

/// A link from the studio to an outside tool, such as a defect tracker: the
/// title of its menu item, and what it does with the text the user chose.
class SDK_EXPORT OpenLinkInterface : public QUnknownInterface
{
public:
    virtual QString title() const = 0;
    virtual bool doLink(const QString& text, QWidget* parent) = 0;
};
