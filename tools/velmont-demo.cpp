// A small host of the library: it holds a tree of objects, writes the
// environment file of one of them, runs a tool chain script of the reference
// installation on it, and prints what the script printed and the status.

#include "qailogmonitor.h"
#include "qastdata.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

#include <cstdio>

namespace {

class StreamConsole : public QAILogMonitor
{
public:
    explicit StreamConsole(FILE* error) : errorStream(error) {}
    void log(const QString& text) override { write(stdout, text); }
    void error(const QString& text) override
    {
        ++errors;
        write(errorStream, text);
    }
    int errorCount() const override { return errors; }
    void resetError() override { errors = 0; }

private:
    static void write(FILE* stream, const QString& text)
    {
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            std::fprintf(stream, "  | %s\n", line.toLocal8Bit().constData());
        std::fflush(stream);
    }
    FILE* errorStream;
    int errors = 0;
};

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
    QAILogMonitor* console(int) override { return &out; }
    QString applicationName() override { return QStringLiteral("velmont-demo"); }

private:
    QString install;
    StreamConsole out {stdout};
};

class DemoObject : public QAStData
{
public:
    DemoObject(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr)
        : QAStData(name, QPixmap(), parent, after)
    {
    }
    QMenu* popupMenu(QWidget*) override { return nullptr; }
    QMenu* addChildPopupMenu(QWidget*) override { return nullptr; }
    QMenu* addNextPopupMenu(QWidget*) override { return nullptr; }
    QMenu* viewPopupMenu(QWidget*) override { return nullptr; }
    void localActionMenuItems(QMenu*) override {}
    QStringList vcsItems() override { return {}; }
    void doubleClickAction() override {}
};

const char* statusName(int status)
{
    switch (status) {
    case QAStData::ExecutionSuccess: return "success";
    case QAStData::ExecutionFailed: return "failed";
    case QAStData::ExecutionStopped: return "stopped";
    case QAStData::ExecutionRunning:
    case QAStData::ExecutionRunningOther: return "running";
    case QAStData::ExecutionNone: return "none";
    case QAStData::ExecutionTestFailed: return "test verdict not ok";
    }
    return "unknown";
}

void printTree(QAStData* data, int depth)
{
    std::printf("%*s%s (quid %u)\n", depth * 2 + 2, "", qPrintable(data->name()), data->getQuid());
    for (QAStData* child = data->firstChild(); child; child = child->next())
        printTree(child, depth + 1);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    DemoHost host;
    QAStData::initialize(&host);

    DemoObject root(QStringLiteral("Demo"));
    auto* sources = new DemoObject(QStringLiteral("Sources"), &root);
    auto* tests = new DemoObject(QStringLiteral("Unit tests"), &root, sources);
    auto* target = new DemoObject(QStringLiteral("check stack"), tests);
    new DemoObject(QStringLiteral("stack.c"), sources);

    std::printf("tree:\n");
    printTree(&root, 0);

    QTextStream environment;
    if (!target->createEnvironmentFile(environment))
        return 1;
    target->generateEnv(environment);
    std::printf("\nenvironment file %s:\n", qPrintable(target->environmentFileName()));
    {
        QString text;
        QTextStream copy(&text);
        target->generateEnv(copy);
        copy.flush();
        std::printf("%s", text.toLocal8Bit().constData());
    }

    std::printf("\nrunning Environment.pl on \"%s\":\n", qPrintable(target->name()));
    std::fflush(stdout);
    QObject::connect(target, &QAStData::perlScriptTerminated, &app, &QCoreApplication::quit);
    target->executePerlScript(QStringLiteral("Environment.pl"), QDir::currentPath(), &environment,
                              true, QAStData::BuildConsole, nullptr);
    if (target->isRunning())
        app.exec();

    const int status = target->executionStatus();
    const bool fileGone = !QFile::exists(target->environmentFileName());
    std::printf("\nstatus of \"%s\": %d (%s); environment file removed: %s\n", qPrintable(target->name()),
                status, statusName(status), fileGone ? "yes" : "no");
    return status == QAStData::ExecutionSuccess ? 0 : 1;
}
