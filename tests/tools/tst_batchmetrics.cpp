// velmont-batch metrics: the metrics of each function and each file's
// totals, the testing time by the Stroud number, and what is refused.

#include "batchfixture.h"

#include <QRegularExpression>
#include <QTest>

class tst_BatchMetrics : public QObject
{
    Q_OBJECT

private:
    BatchFixture fixture;
    QString project;

private slots:
    void initTestCase()
    {
        QVERIFY(fixture.work.isValid());
        project = fixture.copyExample(QStringLiteral("first"));
        QVERIFY(!project.isEmpty());
        QFile source(fixture.path(QStringLiteral("unit.c")));
        QVERIFY(source.open(QIODevice::WriteOnly));
        source.write("int g;\nint f(int a)\n{\n  if (a && g) return 1;\n  return 0;\n}\n"
                     "int h(void) { return f(2); }\n");
    }

    void printsFunctionsAndTotals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<double>("stroud");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("the default Stroud number is 18")
            << QStringList {"PROJECT", "metrics", "unit.c"} << 18.0 << 0 << QString();
        QTest::newRow("--stroud divides by another; a file without metrics fails the run, the others are printed")
            << QStringList {"--stroud", "2.5", "PROJECT", "metrics", "missing.c", "unit.c"} << 2.5 << 1
            << "no metrics for missing.c";
    }
    void printsFunctionsAndTotals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(double, stroud);
        QFETCH(int, status);
        QFETCH(QString, message);
        arguments.replaceInStrings(QStringLiteral("PROJECT"), project);
        const BatchFixture::Run run = fixture.run(arguments);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY2(run.out.contains(QStringLiteral("function f at line 2\n    EXTCOMPCALL=0 EXTVARUSE=1 FAN_IN=1 "
                                                 "NestedLevel=1 Statements=3 VG=3\n")),
                 qPrintable(run.out));
        QVERIFY(run.out.contains(QStringLiteral("function h at line 7\n")));
        QVERIFY(run.out.contains(QStringLiteral("file unit.c in ") + fixture.work.path()));
        QVERIFY(run.out.contains(QStringLiteral(" VG_MAX=3 VG_MEAN=2 ")));
        const QRegularExpressionMatch effort = QRegularExpression(QStringLiteral(" Effort=([0-9.e+]+) ")).match(run.out);
        const QRegularExpressionMatch time = QRegularExpression(QStringLiteral(" TestingTime=([0-9.e+]+) ")).match(run.out);
        QVERIFY(effort.hasMatch() && time.hasMatch());
        QVERIFY(effort.captured(1).toDouble() > 0);
        QCOMPARE(qRound(time.captured(1).toDouble() * 100), qRound(effort.captured(1).toDouble() / stroud * 100));
    }

    void refusesAStroudNumberOfZero()
    {
        const BatchFixture::Run run = fixture.run({"--stroud", "0", project, "metrics", "unit.c"});
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.contains("the Stroud number must be a positive number"), qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BatchMetrics)
#include "tst_batchmetrics.moc"
