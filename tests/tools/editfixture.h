#pragma once

#include "batchfixture.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastnodegroup.h"
#include "qastnodesource.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"

#include <QTest>

#include <deque>

/// The commands that change a project, each run on its own copy of one small
/// project: "Lib" holding the source a.c, and "Tests" behind it, in the
/// configurations "Native C" (current) and "Other". The runs go a few side
/// by side; each row of a test then checks its own.
struct EditFixture {
    struct Row {
        const char* tag;
        QStringList arguments; // "@P" is the row's project file, "@D" its directory
        QString message;       // the start of standard output on success, of standard error otherwise
        QStringList readBack;  // lines of the reopened project, in this order; "!" for a line it lacks
    };

    RecordingHost host;
    BatchFixture fixture;
    QHash<QString, BatchFixture::Run> runs;
    QHash<QString, QByteArray> before;

    ~EditFixture()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
        QAStData::initialize(nullptr);
    }

    QString place(QString text, const QString& tag) const
    {
        const QString dir = fixture.path(QString::number(qHash(tag)));
        return text.replace(QLatin1String("@P"), dir + QStringLiteral("/base.vmp")).replace(QLatin1String("@D"), dir);
    }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Both files of the row's project.
    QByteArray projectBytes(const QString& tag) const
    {
        const QString dir = place(QStringLiteral("@D"), tag);
        return contents(dir + QStringLiteral("/base.vmp")) + contents(dir + QStringLiteral("/base.inf"));
    }

    bool makeBase(const QString& dir)
    {
        if (!QDir().mkpath(dir + QStringLiteral("/src")))
            return false;
        for (const char* name : {"/src/a.c", "/src/b.c", "/t.ptu"}) {
            QFile file(dir + QLatin1String(name));
            if (!file.open(QIODevice::WriteOnly) || file.write("int x;\n") < 0)
                return false;
        }
        QAStProject project(dir + QStringLiteral("/base.vmp"));
        for (const char* name : {"Native C", "Other"}) {
            project.addConfiguration(QLatin1String(name));
            project.initialConfiguration(QLatin1String(name))->init(*QAStNode::getTDP(QStringLiteral("gnu_c_native")));
        }
        project.setCurrentConfiguration(QStringLiteral("Native C"));
        auto* lib = new QAStNodeGroup(QStringLiteral("Lib"), &project, nullptr);
        new QAStNodeSource(project.rootFolder()->addFile(dir + QStringLiteral("/src/a.c"), true), lib, nullptr);
        new QAStNodeGroup(QStringLiteral("Tests"), &project, lib);
        lib->configuration(QStringLiteral("Native C"))->setProperty(QStringLiteral("cflags"), QStringLiteral("-DLIB"));
        return project.saveProcess();
    }

    /// Makes the base project and runs every row on a copy of it.
    void runAll(const QList<Row>& rows)
    {
        QVERIFY(fixture.work.isValid());
        QVERIFY(host.initializeLibrary());
        QAStProject::setModeBatch(true);
        const QString base = fixture.path(QStringLiteral("base"));
        QVERIFY(makeBase(base));
        std::deque<std::pair<QString, std::unique_ptr<QProcess>>> running;
        const auto finish = [&] {
            auto& [tag, process] = running.front();
            QVERIFY(process->waitForFinished(25000) && process->exitStatus() == QProcess::NormalExit);
            runs.insert(tag, {process->exitCode(), QString::fromLocal8Bit(process->readAllStandardOutput()),
                              QString::fromLocal8Bit(process->readAllStandardError())});
            running.pop_front();
        };
        for (const Row& row : rows) {
            const QString tag = QLatin1String(row.tag);
            const QString dir = place(QStringLiteral("@D"), tag);
            QVERIFY(QDir().mkpath(dir + QStringLiteral("/src")));
            for (const char* name : {"/base.vmp", "/base.inf", "/src/a.c", "/src/b.c", "/t.ptu"})
                QVERIFY(QFile::copy(base + QLatin1String(name), dir + QLatin1String(name)));
            before.insert(tag, projectBytes(tag));
            QStringList arguments;
            for (const QString& argument : row.arguments)
                arguments << place(argument, tag);
            // A few at a time: the machine is shared.
            running.emplace_back(tag, fixture.start(arguments, RecordingHost::stageDir()));
            if (running.size() == 4)
                finish();
        }
        while (!running.empty())
            finish();
    }

    void table(const QList<Row>& rows) const
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("readBack");
        for (const Row& row : rows)
            QTest::newRow(row.tag) << place(row.message, QLatin1String(row.tag)) << row.readBack;
    }

    BatchFixture::Run current() const { return runs.value(QLatin1String(QTest::currentDataTag())); }
};
