#pragma once

#include "qastconfiguration.h"
#include "qastnodeapplication.h"
#include "qastnodelibrary.h"
#include "qastnodelink.h"
#include "qastnodesource.h"
#include "qastproject.h"
#include "projectfiles.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// A project in a directory of its own for each test, in the native C port's
/// settings with compilation, link and execution selected.
struct ProgramFixture {
    RecordingHost host;
    QStringList perl;
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<QAStProject> project;

    QString path(const QString& name) const { return dir->filePath(name); }
    QAStConfiguration* settings() const { return project->configuration(QStringLiteral("Debug")); }

    void write(const QString& name, const QByteArray& text) { QVERIFY(writeFile(path(name), text)); }
    QDateTime madeAt(const QString& name) const { return QFileInfo(path(name)).lastModified(); }
    void age(const QString& name, int secondsFromNow) { QVERIFY(touchFile(path(name), secondsFromNow)); }
    // Compilation, link and execution in \a port; no analysis unless a test asks for one.
    void usePort(const QString& port)
    {
        settings()->init(*QAStNode::getTDP(port));
        project->setCurrentConfiguration(QStringLiteral("Debug"));
        settings()->setProperty(QStringLiteral("intdir"), QStringLiteral("obj"));
        settings()->setProperty(QStringLiteral("executionFlag"), 0x3F);
    }
    // Builds \a node and waits for its end: its status.
    int build(QAStNode* node)
    {
        host.messages.clear();
        QSignalSpy finished(node, &QAStNode::buildExecuteFinished);
        node->build();
        if (finished.isEmpty() && !finished.wait(20000))
            return -1;
        return node->executionStatus();
    }
    // A library of two sources and a program that links it.
    QAStNodeApplication* makeProgram(const QByteArray& main)
    {
        write(QStringLiteral("lib/add.c"), "int add(int a, int b) { return a + b; }\n");
        write(QStringLiteral("lib/mul.c"), "int mul(int a, int b) { return a * b; }\n");
        write(QStringLiteral("src/main.c"), main);
        auto* library = new QAStNodeLibrary(QStringLiteral("mathlib"), project.get());
        auto* add = new QAStNodeSource(QStringLiteral("lib/add.c"), library);
        new QAStNodeSource(QStringLiteral("lib/mul.c"), library, add);
        // The library builds first, then the program that links it.
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get(), library);
        auto* entry = new QAStNodeSource(QStringLiteral("src/main.c"), app);
        new QAStNodeLink(library, app, entry);
        project->connectConfigurations();
        return app;
    }
    // Processes whose command line names \a program.
    static int running(const QString& program)
    {
        int count = 0;
        for (QDirIterator it(QStringLiteral("/proc"), QDir::Dirs | QDir::NoDotAndDotDot); it.hasNext();) {
            QFile cmdline(it.next() + QStringLiteral("/cmdline"));
            if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().startsWith(program.toLocal8Bit()))
                ++count;
        }
        return count;
    }

    bool initTestCase()
    {
        if (!host.initializeLibrary())
            return false;
        perl = host.perl;
        return true;
    }
    void init()
    {
        host.perl = perl;
        dir = std::make_unique<QTemporaryDir>();
        project = std::make_unique<QAStProject>(QPixmap());
        project->create(path(QStringLiteral("p.vmp")));
        project->addConfiguration(QStringLiteral("Debug"));
        usePort(QStringLiteral("gnu_c_native"));
    }
    void cleanup()
    {
        project.reset();
        dir.reset();
    }
};
