#pragma once

#include <QStringList>

/// velmont-batch split SPLITFILE [DIR]: follows a split file while it grows
/// and appends each record to its tool's file, until a byte arrives on
/// \a stopSocket. Problems with the arguments go to \a usageError, whose
/// status is returned.
int splitCommand(const QStringList& arguments, int stopSocket, int (*usageError)(const QString&));
