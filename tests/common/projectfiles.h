#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <functional>

class QDateTime;
class QDomDocument;

/// Writes \a bytes to \a path, replacing what was there and making the
/// directories on the way; false when the file could not be written.
bool writeFile(const QString& path, const QByteArray& bytes);
/// Sets the modification time of \a path, made empty with its directories
/// when missing; false when it could not be set.
bool setModified(const QString& path, const QDateTime& time);
/// The same at \a secondsFromNow: a file older or newer than what is built now.
bool touchFile(const QString& path, int secondsFromNow);
/// Copies every file below \a from to the same place below \a to, making
/// the directories; false at the first file that could not be copied.
bool copyTree(const QString& from, const QString& to);
/// The bytes of \a path, empty when it cannot be read.
QByteArray readFile(const QString& path);
/// Every file below \a dir with a digest of its bytes: what a failed attempt
/// must leave exactly as it was.
QMap<QString, QByteArray> snapshot(const QString& dir);
/// The text of \a document without its XML declaration and DOCTYPE, which
/// the library's own parser leaves out.
QString documentBody(const QDomDocument& document);
/// The lines of a project file's text without those that name the
/// installation it was saved with: the DOCTYPE and each port's full path,
/// which a load takes from the installed port.
QList<QByteArray> withoutInstallationLines(const QByteArray& text);
/// Runs \a run without the capabilities that let root read and write any
/// file or directory, so that their own permissions hold as they do for any
/// user. The capabilities are the calling thread's, and come back when \a run
/// returns.
void withoutDacOverride(const std::function<void()>& run);
