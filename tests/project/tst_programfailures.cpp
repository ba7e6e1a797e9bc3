#include "programfixture.h"

// Programs that do not link, crash or never end.
class tst_ProgramFailures : public QObject, ProgramFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(ProgramFixture::initTestCase()); }
    void init() { ProgramFixture::init(); }
    void cleanup() { ProgramFixture::cleanup(); }

    void failuresEndTheNode_data()
    {
        QTest::addColumn<QByteArray>("main");
        QTest::addColumn<bool>("stop");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("a link error names what is missing")
            << QByteArray("int missing(void);\nint main(void) { return missing(); }\n") << false
            << int(QAStData::ExecutionFailed) << "undefined reference to `missing'";
        QTest::newRow("a program that crashes names its signal")
            << QByteArray("#include <signal.h>\nint main(void) { raise(SIGSEGV); return 0; }\n") << false
            << int(QAStData::ExecutionFailed) << "the program was killed by SIGSEGV";
        QTest::newRow("a program that never ends is stopped")
            << QByteArray("#include <stdio.h>\n#include <unistd.h>\n"
                          "int main(void) { puts(\"ready\"); fflush(stdout); for (;;) pause(); }\n")
            << true << int(QAStData::ExecutionStopped) << "";
    }
    void failuresEndTheNode()
    {
        QFETCH(QByteArray, main);
        write(QStringLiteral("src/main.c"), main);
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get());
        new QAStNodeSource(QStringLiteral("src/main.c"), app);
        project->connectConfigurations();
        host.messages.clear();
        QSignalSpy finished(app, &QAStNode::buildExecuteFinished);
        app->build();
        QFETCH(bool, stop);
        if (stop) {
            QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("ready")), 15000);
            QVERIFY(finished.isEmpty());
            app->stop();
        }
        QVERIFY(!finished.isEmpty() || finished.wait(15000));
        QTEST(app->executionStatus(), "status");
        QFETCH(QString, message);
        QVERIFY2(host.consoleText(0, true).contains(message), qPrintable(host.consoleText(0, true)));
        QTRY_COMPARE_WITH_TIMEOUT(running(path(QStringLiteral("obj/calc"))), 0, 5000);
    }
};

QTEST_MAIN(tst_ProgramFailures)
#include "tst_programfailures.moc"
