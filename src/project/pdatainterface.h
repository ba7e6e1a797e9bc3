#pragma once

#include "sdk_export.h"

#include <QPixmap>
#include <QString>

class QObject;
class QTextStream;

/// The face of a tree object towards plug-ins.
class SDK_EXPORT PDataInterface
{
public:
    virtual ~PDataInterface();
    virtual QString name() const = 0;
    virtual QPixmap icon() const = 0;
    virtual QString directory() = 0;
    virtual bool isModified() const = 0;
    virtual bool isRunning() = 0;
    virtual void generateEnv(QTextStream& stream) = 0;
    virtual QString environmentFileName() = 0;
    virtual QObject* object() const = 0;
};
