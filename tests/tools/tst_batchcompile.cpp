#include "batchfixture.h"

#include <QTest>

// The batch host on a small project of real sources: good.c in the group
// "ok", and bad.c, which does not compile, beside it and in the group
// "broken".
class tst_BatchCompile : public QObject
{
    Q_OBJECT

    BatchFixture fixture;

private slots:
    void initTestCase()
    {
        QVERIFY(copyTree(QStringLiteral(SDK_TESTDATA_DIR "/compile"), fixture.path(QStringLiteral("compile"))));
    }

    void compilesShowInTheProgress_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("progress");
        QTest::addColumn<QString>("scriptOutput");
        // Not recorded, so that the next row compiles it again.
        QTest::newRow("a source that compiles") << QStringList {"--no-save", "build", "ok"} << 0
                                                << QStringList {"start ok.good.c\n", "end ok.good.c: success"}
                                                << QString();
        QTest::newRow("a failing compile stops the build with the compiler's message")
            << QStringList {"build"} << 1
            << QStringList {"end ok.good.c: success", "end bad.c: failed", "build compile: failed"}
            << "/compile/src/bad.c:3:12: error: ";
        QTest::newRow("a failing compile in a group fails the build though the group's own step succeeds")
            << QStringList {"build", "broken"} << 1
            << QStringList {"end broken.bad.c: failed", "end broken: success", "build broken: success",
                            ", 1 node failed\n"}
            << "/compile/src/bad.c:3:12: error: ";
    }
    void compilesShowInTheProgress()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, progress);
        QFETCH(QString, scriptOutput);
        const BatchFixture::Run run = fixture.run(QStringList {fixture.path(QStringLiteral("compile/compile.vmp"))}
                                                      + arguments,
                                                  RecordingHost::stageDir());
        QTEST(run.status, "status");
        for (const QString& line : progress)
            QVERIFY2(run.out.contains(line), qPrintable(run.out));
        QVERIFY2(run.err.contains(scriptOutput), qPrintable(run.err));
        QVERIFY(QFileInfo::exists(fixture.path(QStringLiteral("compile/obj/good.o"))));
    }
};

QTEST_MAIN(tst_BatchCompile)
#include "tst_batchcompile.moc"
