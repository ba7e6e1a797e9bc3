#include "qasttargetpackagelist.h"

#include "qailogmonitor.h"
#include "qainstall.h"
#include "qares.h"
#include "qastdata.h"
#include "qastprojectpref.h"
#include "qasttargetpackage.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QAStTargetPackageList* QAStTargetPackageList::_installed = nullptr;
StudioInterface* QAStTargetPackageList::_studio = nullptr;

namespace {

void report(StudioInterface* studio, const QString& text)
{
    QAILogMonitor* log = studio ? studio->console(QAStData::MessageConsole) : nullptr;
    if (log)
        log->log(text);
    else
        warning("QAStTargetPackageList: %s", text.toLocal8Bit().constData());
}

// A broken description file must cost only its own port: its messages are
// kept from the user and left to the developers' trace.
void quietError(const char* file, int line, int column, const QString& message)
{
    const QString text = QStringLiteral("%1:%2:%3: %4")
                             .arg(QString::fromLocal8Bit(file ? file : ""))
                             .arg(line)
                             .arg(column)
                             .arg(message);
    warning("QAStTargetPackageList: %s", text.toLocal8Bit().constData());
}

} // namespace

QAStTargetPackageList::QAStTargetPackageList(const QStringList& directories)
{
    scan(directories.isEmpty() ? QStringList(defaultDirectory()) : directories);
}

QAStTargetPackageList::~QAStTargetPackageList()
{
    qDeleteAll(*this);
}

void QAStTargetPackageList::scan(const QStringList& directories)
{
    qDeleteAll(*this);
    clear();
    QARes::setErrorHandler(quietError);
    for (const QString& path : directories) {
        const QFileInfo info(path);
        if (!info.isDir() || !info.isReadable()) {
            report(_studio, QCoreApplication::translate(
                                "TargetPackage", "The Target Package %1 directory doesn't exist or it is not readable")
                                .arg(path));
            warning("QAStTargetPackageList: %s directory doesn't exists", path.toLocal8Bit().constData());
            continue;
        }
        // "." and ".." stay in the listing, so description files directly in
        // a scanned directory, or in its parent, make ports too.
        const QDir top(path);
        const QFileInfoList entries =
            top.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System, QDir::DirsFirst | QDir::Name);
        if (entries.isEmpty()) {
            report(_studio, QCoreApplication::translate("TargetPackage", "The Target Package %1 directory is empty")
                                .arg(path));
            warning("QAStTargetPackageList: This directory isn't readable");
            continue;
        }
        for (const QFileInfo& entry : entries) {
            warning("QAStTargetPackageList: scan %s", entry.filePath().toLocal8Bit().constData());
            if (!entry.isDir())
                continue;
            const QFileInfoList files =
                QDir(entry.filePath()).entryInfoList({QStringLiteral("*.ini")}, QDir::Files, QDir::Name);
            for (const QFileInfo& file : files) {
                QARes* tree = QARes::read(QFile::encodeName(file.filePath()).constData(), true);
                if (!tree)
                    continue;
                auto* port = new QAStTargetPackage;
                port->read(tree, entry.fileName(), file.fileName());
                append(port);
                delete tree;
            }
        }
    }
    QARes::setErrorHandler(nullptr);
}

QAStTargetPackage* QAStTargetPackageList::targetPackage(const QString& directory) const
{
    for (QAStTargetPackage* port : *this)
        if (port->directory == directory)
            return port;
    return nullptr;
}

bool QAStTargetPackageList::initialize(StudioInterface* studio, QARes*)
{
    delete _installed;
    _installed = nullptr;
    _studio = studio;
    _installed = new QAStTargetPackageList(preferredDirectories());
    if (!_installed->isEmpty())
        return true;
    report(studio, QCoreApplication::translate("TargetPackage",
                                               "Error when initializing Target Package List, see the reason above"));
    return false;
}

void QAStTargetPackageList::terminate(StudioInterface*, QARes*)
{
    delete _installed;
    _installed = nullptr;
}

QAStTargetPackage* QAStTargetPackageList::searchAssociated(const QString& directory, const QString& language)
{
    if (!_installed)
        return nullptr;
    for (QAStTargetPackage* port : std::as_const(*_installed))
        if (port->language == language && port->directory == directory)
            return port;
    return nullptr;
}

QString QAStTargetPackageList::search(const QString& name)
{
    const QStringList directories = preferredDirectories();
    for (const QString& directory : directories)
        if (QFileInfo(directory).isDir() && QFileInfo::exists(QDir(directory).filePath(name)))
            return directory;
    return defaultDirectory();
}

QStringList QAStTargetPackageList::preferredDirectories()
{
    const QAStProjectPref* preferences = QAStData::preferences();
    return preferences ? preferences->value(QStringLiteral("tdpDirectories")).toStringList() : QStringList();
}

QString QAStTargetPackageList::defaultDirectory()
{
    const QString program = QCoreApplication::instance() ? QCoreApplication::arguments().value(0) : QString();
    return QAInstall::targetDir(program);
}
