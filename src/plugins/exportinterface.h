#pragma once

#include "qfeaturelistinterface.h"

#include <QPixmap>
#include <QString>

class QWidget;

/// A writer of the open project in a foreign form, for each feature: what
/// the export menu shows, and the export itself.
class SDK_EXPORT ExportInterface : public QFeatureListInterface
{
public:
    virtual QString title(const QString& feature) const = 0;
    virtual QPixmap logo(const QString& feature) const = 0;
    virtual QString description(const QString& feature) const = 0;
    virtual bool doExport(const QString& feature, QUnknownInterface* studio, QWidget* parent) = 0;
};
