#include "batchtags.h"

#include "batchhost.h"
#include "batchsession.h"
#include "qastatag.h"
#include "qastfile.h"
#include "qastfileanalyse.h"
#include "qastproject.h"
#include "qastrootfolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QTextStream>

namespace {

QString kindOf(const QAStATag* tag)
{
    if (tag->inherits("QAStFile"))
        return QStringLiteral("file");
    if (tag->inherits("QAStAMethodTag"))
        return QStringLiteral("method");
    if (tag->inherits("QAStAFunctionTag"))
        return tag->hasQualifier(QAStATag::Declaration) ? QStringLiteral("declaration") : QStringLiteral("function");
    if (tag->inherits("QAStAClassTag"))
        return QStringLiteral("class");
    if (tag->inherits("QAStAStructTag"))
        return QStringLiteral("struct");
    if (tag->inherits("QAStAPackageTag"))
        return tag->hasQualifier(QAStATag::Namespace) ? QStringLiteral("namespace") : QStringLiteral("package");
    return QStringLiteral("tag");
}

QString testability(QAStATag* tag)
{
    if (!tag->isTestable())
        return QStringLiteral("not testable");
    if (tag->isDirectlyTestable())
        return QStringLiteral("testable");
    const QAStATag* parent = tag->directlyTestableParent();
    return QStringLiteral("testable through ") + (parent ? parent->qualifiedName() : QStringLiteral("its file"));
}

void printTree(QAStFile* file, QTextStream& out)
{
    out << file->fileKey() << '\n';
    struct Entry {
        QAStData* data;
        int depth;
    };
    QList<Entry> pending;
    const auto pushChildren = [&](QAStData* parent, int depth) {
        QList<Entry> children;
        for (QAStData* child = parent->firstChild(); child; child = child->next())
            children.append({child, depth});
        for (qsizetype i = children.size() - 1; i >= 0; --i)
            pending.append(children.at(i));
    };
    pushChildren(file, 1);
    while (!pending.isEmpty()) {
        const Entry entry = pending.takeLast();
        if (auto* tag = qobject_cast<QAStATag*>(entry.data)) {
            out << QString(entry.depth * 2, QLatin1Char(' ')) << kindOf(tag) << ' ' << tag->qualifiedName()
                << tag->signature() << "  line " << tag->line() << ", " << testability(tag) << '\n';
        }
        pushChildren(entry.data, entry.depth + 1);
    }
}

// The file \a path names as "tag" takes it, from the working directory, or
// as the project knows it.
QAStFile* fileNamed(QAStProject* project, const QString& path)
{
    if (QAStFile* known = project->file(path))
        return known;
    const QFileInfo here(path);
    return here.exists() ? project->file(here.absoluteFilePath()) : nullptr;
}

} // namespace

int BatchTags::tag(QAStProject* project, const QStringList& paths, QTextStream& out)
{
    if (paths.isEmpty()) {
        reportError(QStringLiteral("tag needs a file (velmont-batch --help tells more)"));
        return ExitUsage;
    }
    QList<QAStFile*> files;
    for (const QString& path : paths) {
        if (!QFileInfo::exists(path)) {
            reportError(QStringLiteral("no file \"%1\"").arg(path));
            return ExitUsage;
        }
        QAStFile* file = project->file(path);
        if (!file && project->rootFolder())
            file = project->rootFolder()->addFile(QFileInfo(path).absoluteFilePath(), true);
        if (file)
            files.append(file);
    }
    QHash<QAStFile*, bool> failed;
    for (QAStFile* file : files) {
        // An analysis that fails leaves the file's time stamp set, not null.
        QObject::connect(file, &QAStFile::taggingTerminated, file, [file, &failed] {
            failed[file] = file->executionStatus() != QAStData::ExecutionSuccess;
        });
    }
    auto* analyse = new QAStFileAnalyse(files, true);
    QEventLoop loop;
    bool finished = false;
    QObject::connect(analyse, &QAStFileAnalyse::analyseFinished, &loop, [&] {
        finished = true;
        loop.quit();
    });
    analyse->start();
    if (!finished)
        loop.exec();
    delete analyse;
    int status = ExitSuccess;
    for (QAStFile* file : files) {
        QObject::disconnect(file, &QAStFile::taggingTerminated, file, nullptr);
        if (failed.value(file, true)) {
            out << file->fileKey() << ": analysis failed\n";
            status = ExitBuildFailed;
        } else {
            out << file->fileKey() << ": " << file->children().size() << " tag(s), "
                << file->dependencies().size() << " included file(s)\n";
        }
    }
    // The tags live in the objects file; the project file stays as it was.
    if (project->rootFolder())
        project->rootFolder()->save(project->directory() + QDir::separator() + project->browseInformationFileName());
    return status;
}

int BatchTags::tags(QAStProject* project, const QString& path, QTextStream& out)
{
    QList<QAStFile*> files;
    if (path.isEmpty()) {
        files = project->files();
    } else if (QAStFile* file = fileNamed(project, path)) {
        files.append(file);
    } else {
        reportError(QStringLiteral("no file \"%1\" in the project").arg(path));
        return ExitUsage;
    }
    for (QAStFile* file : files)
        printTree(file, out);
    return ExitSuccess;
}
