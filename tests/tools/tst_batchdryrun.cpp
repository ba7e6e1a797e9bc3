#include "runprojectfixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

// A dry run: the environment files of the steps and the compilation
// database, with nothing compiled.
class tst_BatchDryRun : public QObject
{
    Q_OBJECT

private slots:
    // The database holds the command that the compile step then runs, word
    // for word, and the checker of the sources reads it.
    void dryRunWritesTheCompilesThatABuildRuns()
    {
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        const QString where = fixture.path(QStringLiteral("dry"));
        const BatchFixture::Run dry = fixture.run({"--dry-run=" + where, "rebuild"});
        QVERIFY2(dry.status == 0, qPrintable(dry.out + dry.err));
        QVERIFY(!QFileInfo::exists(fixture.path(QStringLiteral("obj"))));
        QVERIFY(QFileInfo::exists(where + QStringLiteral("/environment/Unit tests.Queue.queue.c.pl")));
        QVERIFY(QFileInfo::exists(where + QStringLiteral("/environment/Unit tests.Queue.pl")));
        QFile database(where + QStringLiteral("/compile_commands.json"));
        QVERIFY(database.open(QIODevice::ReadOnly));
        const QJsonArray entries = QJsonDocument::fromJson(database.readAll()).array();
        QStringList files, commands;
        for (const QJsonValue& entry : entries) {
            files << QFileInfo(entry[QLatin1String("file")].toString()).fileName();
            QStringList words;
            for (const QJsonValue& word : entry[QLatin1String("arguments")].toArray())
                words << word.toString();
            commands << words.join(QLatin1Char(' '));
        }
        files.sort();
        QCOMPARE(files, (QStringList {"list.c", "queue.c", "stack.c"}));

        QProcess tidy;
        tidy.start(QStringLiteral("clang-tidy"), {"--quiet", "--checks=-*,clang-analyzer-core.*", "-p", where,
                                                   fixture.path(QStringLiteral("src/queue.c"))});
        QVERIFY(tidy.waitForFinished(8000));
        QVERIFY2(tidy.exitCode() == 0, tidy.readAllStandardOutput() + tidy.readAllStandardError());

        qputenv("ZENTASTUDIO_VERBOSE", "1");
        const BatchFixture::Run built = fixture.run({"build"});
        qunsetenv("ZENTASTUDIO_VERBOSE");
        QCOMPARE(built.status, 0);
        for (const QString& command : std::as_const(commands))
            QVERIFY2(built.err.contains(command + QLatin1Char('\n')), qPrintable(command + "\n---\n" + built.err));
    }
};

QTEST_MAIN(tst_BatchDryRun)
#include "tst_batchdryrun.moc"
