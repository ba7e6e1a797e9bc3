#pragma once

#include "qfeaturelistinterface.h"

#include <QPixmap>
#include <QString>

class QWidget;

/// A task that the studio offers on its start page, for each feature: a
/// title, a logo and a description to show, and the start of the task with
/// the studio (\a studio, its QUnknownInterface) and a parent widget.
class SDK_EXPORT ActivityInterface : public QFeatureListInterface
{
public:
    virtual QString title(const QString& feature) const = 0;
    virtual QPixmap logo(const QString& feature) const = 0;
    virtual QString description(const QString& feature) const = 0;
    virtual bool start(const QString& feature, QUnknownInterface* studio, QWidget* parent) = 0;
};
