// A small host of the library: it reads a project file into a tree, builds
// the whole project with the scripts of the reference installation, prints
// what the scripts printed and the statuses, and writes the project back.

#include "executionstatusname.h"
#include "qalogconsole.h"
#include "qastdata.h"
#include "qastproject.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QFile>
#include <QTextStream>

#include <cstdio>

namespace {

class DemoHost : public StudioInterface
{
public:
    DemoHost()
    {
        const QByteArray fromEnvironment = qgetenv("VELMONTDIR");
        install = fromEnvironment.isEmpty() ? QStringLiteral(SDK_STAGE_DIR)
                                            : QString::fromLocal8Bit(fromEnvironment);
    }
    QString installDir() override { return install; }
    QString scriptsDir() override { return install + QStringLiteral("/lib/scripts"); }
    QString binaryDir() override { return install + QStringLiteral("/bin/linux/x86_64"); }
    QString helpDir() override { return install + QStringLiteral("/doc"); }
    QString targetDir() override { return install + QStringLiteral("/targets"); }
    QString userName() override { return QString::fromLocal8Bit(qgetenv("USER")); }
    QStringList perlCommand() override
    {
        return {binaryDir() + QStringLiteral("/Velmontperl"), QStringLiteral("-I"),
                install + QStringLiteral("/lib/perl")};
    }
    // Scripts speak through the batch console: their output goes to standard
    // output, their errors to standard error, as they wrote them.
    QAILogMonitor* console(int) override { return &out; }
    QString applicationName() override { return QStringLiteral("velmont-demo"); }

private:
    QString install;
    QALogConsole out;
};

void printTree(QAStData* data, int depth)
{
    std::printf("%*s%s (quid %u)\n", depth * 2 + 2, "", qPrintable(data->name()), data->getQuid());
    for (QAStData* child = data->firstChild(); child; child = child->next())
        printTree(child, depth + 1);
}

bool readProject(QAStProject& project, const QString& path)
{
    QFile file(path);
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) {
        std::fprintf(stderr, "cannot read the project file %s\n", qPrintable(path));
        return false;
    }
    project.init(document.documentElement());
    if (!QAStData::lastErrorString().isEmpty())
        std::printf("load notes:\n%s", qPrintable(QAStData::lastErrorString()));
    return project.isValid();
}

void printStatuses(QAStData* data, int depth)
{
    std::printf("%*s%s: %s\n", depth * 2 + 2, "", qPrintable(data->name()),
                executionStatusName(data->executionStatus()));
    for (QAStData* child = data->firstChild(); child; child = child->next())
        printStatuses(child, depth + 1);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    DemoHost host;
    QAStData::initialize(&host);

    const QString path = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                  : QStringLiteral(SDK_EXAMPLES_DIR "/groups/groups.vmp");
    QAStProject project(QFileInfo(path).completeBaseName(), QPixmap());
    if (!readProject(project, path))
        return 1;
    std::printf("project %s:\n", qPrintable(path));
    printTree(&project, 0);

    // The run goes on through signals; the root's end closes the loop.
    std::printf("\nrebuilding \"%s\":\n", qPrintable(project.name()));
    std::fflush(stdout);
    QObject::connect(&project, &QAStNode::buildExecuteFinished, &app, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    project.rebuild();
    if (QAStNode::isRunConnected() || project.isRunning())
        app.exec();

    std::printf("\nstatuses:\n");
    printStatuses(&project, 0);

    const QString copy = QDir::current().filePath(QFileInfo(path).fileName());
    QFile out(copy);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(copy));
        return 1;
    }
    QTextStream stream(&out);
    stream.setEncoding(QStringConverter::Utf8);
    project.write(stream, 0);
    stream.flush();
    std::printf("\nwritten back to %s (%lld bytes)\n", qPrintable(copy), static_cast<long long>(out.size()));
    return project.executionStatus() == QAStData::ExecutionSuccess ? 0 : 1;
}
