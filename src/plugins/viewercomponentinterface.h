#pragma once

#include "qunknowninterface.h"

#include <QStringList>

class QARes;
class QObject;

/// What every window component of the studio (a viewer, an editor, the
/// project window) has: it is given the studio (its QUnknownInterface) and
/// the studio's resources once, the file patterns it reads, and it tells a
/// receiver when the user accepts or rejects what it shows.
class SDK_EXPORT ViewerComponentInterface : public QUnknownInterface
{
public:
    virtual void initialize(QUnknownInterface* studio, QARes* resources) = 0;
    virtual void accept() = 0;
    /// The patterns of the files it shows: each a ";"-separated set of
    /// wildcards that must all find files.
    virtual QStringList filters() = 0;
    virtual bool connectAccepted(QObject* receiver, const char* member) = 0;
    virtual bool connectRejected(QObject* receiver, const char* member) = 0;
};
