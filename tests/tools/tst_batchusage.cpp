#include "batchfixture.h"
#include "testshare.h"

#include <QTest>

// What velmont-batch answers to a wrong call or an unusable project: its exit
// status, and one line on standard error that names the fault.
class tst_BatchUsage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(fixture.work.isValid());
        places.insert(QStringLiteral("@P"), fixture.copyExample(QStringLiteral("first")));
        places.insert(QStringLiteral("@M"), fixture.path(QStringLiteral("missing.vmp")));
        places.insert(QStringLiteral("@B"), fixture.path(QStringLiteral("bad.vmp")));
        places.insert(QStringLiteral("@T"), fixture.path(QStringLiteral("truncated.vmp")));
        QFile bad(places.value("@B")), truncated(places.value("@T")), example(places.value("@P"));
        QVERIFY(bad.open(QIODevice::WriteOnly) && truncated.open(QIODevice::WriteOnly)
                && example.open(QIODevice::ReadOnly));
        bad.write("this is no project\n");
        truncated.write(example.read(300));
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("withoutPorts");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("err");
        int index = 0;
        const auto row = [&index](const char* tag, const QStringList& arguments, int status, const char* err,
                                  bool withoutPorts = false) {
            if (inThisShare(index++))
                QTest::newRow(tag) << arguments << withoutPorts << status << QString::fromUtf8(err);
        };
        row("a missing project", {"@M", "tree"}, 5, "no project file at @M");
        row("a file that is not a project", {"@B", "tree"}, 5,
            "cannot open the project @B: This file content is not a valid project file");
        row("a truncated project file", {"@T", "tree"}, 5, "cannot open the project @T: Unable to read the project");
        row("an installation without ports", {"@P", "tree"}, 5, "has no target deployment port", true);
        row("an unknown node", {"@P", "build", "Unit tests.Nope"}, 4, "no node \"Unit tests.Nope\" in the project");
        row("an unknown configuration", {"-c", "Nope", "@P", "tree"}, 4,
            "unknown configuration \"Nope\"; the project has: Native C, Native C++");
        row("an unknown command", {"@P", "frobnicate"}, 4, "unknown command \"frobnicate\"");
        row("a command without its node", {"@P", "env"}, 4, "env needs a node");
        row("no command", {"@P"}, 4, "a command is needed");
        row("an unknown option", {"--frob", "@P", "tree"}, 4, "unknown option --frob");
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, withoutPorts);
        QFETCH(int, status);
        QFETCH(QString, err);
        for (QString& argument : arguments)
            argument = places.value(argument, argument);
        for (auto it = places.constBegin(); it != places.constEnd(); ++it)
            err.replace(it.key(), it.value());
        const QString installation = withoutPorts ? fixture.installationWith(QStringLiteral("portless"), {}, false)
                                                  : QString();

        const BatchFixture::Run result = fixture.run(arguments, installation);
        QVERIFY2(result.status == status, qPrintable(QStringLiteral("status %1\n%2").arg(result.status).arg(result.err)));
        QVERIFY2(result.err.contains(err), qPrintable(result.err));
        QCOMPARE(result.err.count(QLatin1Char('\n')), 1);
        QVERIFY(result.out.isEmpty());
    }

private:
    BatchFixture fixture;
    QMap<QString, QString> places;
};

QTEST_GUILESS_MAIN(tst_BatchUsage)
#include "tst_batchusage.moc"
