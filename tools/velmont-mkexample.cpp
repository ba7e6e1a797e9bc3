// Writes the first example project through the library itself: a project
// with two configurations, one on each native port of the installation, a
// few groups, a sub-project holding groups of its own, and their files.
//
//   velmont-mkexample <directory>

#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qastsubproject.h"
#include "qasttargetpackagelist.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>

namespace {

class ExampleHost : public StudioInterface
{
public:
    // Relative on purpose: the files name the installation, and the example
    // must not carry the path of the machine that wrote it.
    QString installDir() override { return QStringLiteral("."); }
    QString dataDir() override { return QStringLiteral(SDK_STAGE_DIR); }
    QString targetDir() override { return QStringLiteral(SDK_STAGE_DIR "/targets"); }
};

QAStNodeGroup* group(const QString& name, QAStData* parent)
{
    return new QAStNodeGroup(name, parent, parent->last());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: velmont-mkexample <directory>\n");
        return 2;
    }
    ExampleHost host;
    QAStData::initialize(&host);
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(host.targetDir()));
    if (!QAStTargetPackageList::initialize(&host) || !QAStConfiguration::initialize(&host)) {
        std::fprintf(stderr, "the installation's ports or settings did not load\n");
        return 1;
    }
    const QDir root(QString::fromLocal8Bit(argv[1]));
    root.mkpath(QStringLiteral("library"));
    QAStProject::setModeBatch(true);

    QAStProject project(root.filePath(QStringLiteral("first.vmp")));
    const struct {
        const char* name;
        const char* port;
    } configurations[] = {{"Native C", "gnu_c_native"}, {"Native C++", "gnu_cpp_native"}};
    for (const auto& entry : configurations) {
        project.addConfiguration(QString::fromLatin1(entry.name));
        if (QAStTargetPackage* port = QAStNode::getTDP(QString::fromLatin1(entry.port)))
            project.initialConfiguration(QString::fromLatin1(entry.name))->init(*port);
    }
    project.setCurrentConfiguration(QStringLiteral("Native C"));

    QAStNodeGroup* unit = group(QStringLiteral("Unit tests"), &project);
    group(QStringLiteral("Stack"), unit);
    QAStNodeGroup* queue = group(QStringLiteral("Queue"), unit);
    // One group that builds with more checks than the rest of the project.
    queue->configuration(QStringLiteral("Native C"))->setProperty(QStringLiteral("cflags"),
                                                                  QStringLiteral("-Wall -Wextra"));
    group(QStringLiteral("Integration"), &project);
    project.addFiles({QStringLiteral("src/stack.c"), QStringLiteral("src/queue.c"), QStringLiteral("tests/stack.ptu")});

    QAStSubProject* library = project.addSubProject(root.filePath(QStringLiteral("library/library.vmp")));
    group(QStringLiteral("Parser"), library);
    group(QStringLiteral("Printer"), library);
    library->addFiles({QStringLiteral("parser.c"), QStringLiteral("printer.c")});

    if (!project.saveProcess()) {
        std::fprintf(stderr, "the example could not be written\n");
        return 1;
    }
    std::printf("written %s\n", qPrintable(project.path()));
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
    return 0;
}
