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
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<double>("stroud");
        QTest::newRow("the default Stroud number is 18") << QStringList() << 18.0;
        QTest::newRow("--stroud divides the effort by another number") << QStringList {"--stroud", "2.5"} << 2.5;
    }
    void printsFunctionsAndTotals()
    {
        QFETCH(QStringList, options);
        QFETCH(double, stroud);
        const BatchFixture::Run run = fixture.run(options + QStringList {project, "metrics", "unit.c"});
        QVERIFY2(run.status == 0, qPrintable(run.err));
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

    void refusesWhatItCannotDo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("a Stroud number of 0 is refused")
            << QStringList {"--stroud", "0", "PROJECT", "metrics", "unit.c"} << 4 << "the Stroud number must be a positive number";
        QTest::newRow("no file is refused") << QStringList {"PROJECT", "metrics"} << 4 << "metrics needs a file";
        QTest::newRow("a file without metrics fails the run, the others are printed")
            << QStringList {"PROJECT", "metrics", "missing.c", "unit.c"} << 1 << "no metrics for missing.c";
    }
    void refusesWhatItCannotDo()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        arguments.replaceInStrings(QStringLiteral("PROJECT"), project);
        const BatchFixture::Run run = fixture.run(arguments);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        if (status == 1)
            QVERIFY(run.out.contains(QStringLiteral("function f at line 2")));
    }
};

QTEST_GUILESS_MAIN(tst_BatchMetrics)
#include "tst_batchmetrics.moc"
