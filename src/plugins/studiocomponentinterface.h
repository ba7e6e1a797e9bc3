#pragma once

#include "qunknowninterface.h"

class QARes;
class QObject;

/// A part of the studio that is not a window of its own, such as a page of
/// the preferences dialog: given the studio and its resources once, told
/// when the user accepts, and telling a receiver of the user's answer.
class SDK_EXPORT StudioComponentInterface : public QUnknownInterface
{
public:
    virtual void initialize(QUnknownInterface* studio, QARes* resources) = 0;
    virtual void accept() = 0;
    virtual bool connectAccepted(QObject* receiver, const char* member) = 0;
    virtual bool connectRejected(QObject* receiver, const char* member) = 0;
};
