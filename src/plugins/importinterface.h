#pragma once

#include "qfeaturelistinterface.h"

#include <QPixmap>
#include <QString>

class QWidget;

/// A reader of a foreign project form, for each feature: what the import
/// menu shows, and the import itself into the studio's open project.
class SDK_EXPORT ImportInterface : public QFeatureListInterface
{
public:
    virtual QString title(const QString& feature) const = 0;
    virtual QPixmap logo(const QString& feature) const = 0;
    virtual QString description(const QString& feature) const = 0;
    virtual bool import(const QString& feature, QUnknownInterface* studio, QWidget* parent) = 0;
};
