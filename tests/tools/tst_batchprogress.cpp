#include "runprojectfixture.h"

#include <QTest>

// On a terminal the progress keeps the bottom row, and what the run and its
// scripts write scrolls in the region above it.
class tst_BatchProgress : public QObject
{
    Q_OBJECT

private slots:
    void progressKeepsTheBottomRowOfATerminal()
    {
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        QProcess terminal;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        environment.insert(QStringLiteral("VELMONTDIR"), fixture.installation);
        terminal.setProcessEnvironment(environment);
        const QString command = QStringLiteral("stty rows 20 cols 60; '%1' '%2' build 'Unit tests.List'")
                                    .arg(QStringLiteral(SDK_BATCH_PROGRAM), fixture.project());
        terminal.start(QStringLiteral("script"), {"-qec", command, "/dev/null"});
        QVERIFY(terminal.waitForFinished(20000));
        const QByteArray out = terminal.readAllStandardOutput();
        QVERIFY2(out.contains("\x1b[1;19r"), out.constData());
        QVERIFY2(out.contains("\x1b[20;1H\x1b[K[2/2] Unit tests.List  "), out.constData());
        // The whole terminal scrolls again once the run has ended.
        QVERIFY2(out.contains("\x1b[r\x1b[20;1H\x1b[K\x1b" "8test node"), out.constData());
    }

};

QTEST_MAIN(tst_BatchProgress)
#include "tst_batchprogress.moc"
