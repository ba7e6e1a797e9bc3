#include "batchfixture.h"

#include <QTest>

// The batch host on a small project of real sources: the library "mathlib"
// of two sources, and the application "calc", whose main source calls them
// through a link to the library.
class tst_BatchApps : public QObject
{
    Q_OBJECT

    BatchFixture fixture;

    // A fresh copy of the project; its project file.
    QString copyProject(const QString& name)
    {
        return copyTree(QStringLiteral(SDK_TESTDATA_DIR "/apps"), fixture.path(name))
            ? fixture.path(name + QStringLiteral("/apps.vmp"))
            : QString();
    }
    // The file that the host names on an "output NODE TYPE FILE" line.
    static QString output(const QString& out, const QString& type)
    {
        for (const QString& line : out.split(QLatin1Char('\n'))) {
            if (line.startsWith(QLatin1String("output calc ") + type + QLatin1Char(' ')))
                return line.section(QLatin1Char(' '), 3);
        }
        return QString();
    }

private slots:
    // Built from nothing with coverage and tracing, and run: the library and
    // the program are made, the program's output shows, its records reach
    // the split file, and the splitter hands them to the coverage and trace
    // files while the program runs. The host says where each of them is.
    void anInstrumentedProjectBuildsAndRuns()
    {
        const QString project = copyProject(QStringLiteral("apps"));
        QVERIFY(!project.isEmpty());
        const BatchFixture::Run run = fixture.run({QStringLiteral("--config"), QStringLiteral("Instrumented"), project,
                                                   QStringLiteral("build")},
                                                  RecordingHost::stageDir());
        QVERIFY2(run.status == 0, qPrintable(run.out + run.err));
        for (const char* line : {"end mathlib: success", "end calc: success", "build apps: success"})
            QVERIFY2(run.out.contains(QLatin1String(line)), qPrintable(run.out));
        QVERIFY2(run.err.contains(QLatin1String("\nsum=5 product=6\n")), qPrintable(run.err));
        QVERIFY(run.err.contains(QLatin1String("EXE ") + fixture.path(QStringLiteral("apps/obj/calc"))));
        QVERIFY(run.err.contains(QLatin1String("LIB ") + fixture.path(QStringLiteral("apps/obj/mathlib.a"))));
        const QString stream = output(run.out, QStringLiteral("SPT"));
        QCOMPARE(stream, fixture.path(QStringLiteral("apps/obj/calc.spt")));
        const QByteArray records = readFile(stream);
        // The library's functions are instrumented as the program's are.
        for (const char* record : {"FT main\n", "BA ", " 1 mul\n", " 1 add\n", "CO \"", "tEND "})
            QVERIFY2(records.contains(record), records.constData());

        QVERIFY2(!output(run.out, QStringLiteral("TIO")).isEmpty(), qPrintable(run.out));
        QVERIFY(readFile(output(run.out, QStringLiteral("TIO"))).contains("FT main\n"));
        QVERIFY(readFile(output(run.out, QStringLiteral("TDF"))).contains(" 1 mul\n"));
    }
};

QTEST_MAIN(tst_BatchApps)
#include "tst_batchapps.moc"
