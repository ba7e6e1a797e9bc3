#include "programfixture.h"

// A library and the program that links it, built with the staged tool chain
// and the native port's gcc, and built again.
class tst_ProgramBuild : public QObject, ProgramFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(ProgramFixture::initTestCase()); }
    void init() { ProgramFixture::init(); }
    void cleanup() { ProgramFixture::cleanup(); }

    // Built from nothing, run, and built again: only what a change reaches.
    void aChangeRebuildsWhatItReaches()
    {
        QAStNodeApplication* app = makeProgram("#include <stdio.h>\nint add(int, int);\nint mul(int, int);\n"
                                               "int main(void) { printf(\"sum=%d product=%d\\n\", add(2, 3), mul(2, 3)); return 0; }\n");
        QVERIFY2(build(project.get()) == 0, qPrintable(host.consoleText(0)));
        QVERIFY2(host.consoleText(0).contains(QLatin1String("sum=5 product=6")), qPrintable(host.consoleText(0)));
        const QStringList made {"obj/add.o", "obj/mul.o", "obj/main.o", "obj/mathlib.a", "obj/calc"};
        QList<QDateTime> first;
        for (const QString& file : made) {
            QVERIFY2(QFileInfo::exists(path(file)), qPrintable(file));
            first << madeAt(file);
        }

        QCOMPARE(build(project.get()), 0);
        for (qsizetype i = 0; i < made.size(); ++i)
            QCOMPARE(madeAt(made.at(i)), first.at(i));
        QVERIFY(host.consoleText(0).contains(QLatin1String("is up-to-date")));

        age(QStringLiteral("lib/mul.c"), 0);
        QCOMPARE(build(project.get()), 0);
        QCOMPARE(madeAt(QStringLiteral("obj/add.o")), first.at(0));
        QCOMPARE(madeAt(QStringLiteral("obj/main.o")), first.at(2));
        for (const QString& file : {QStringLiteral("obj/mul.o"), QStringLiteral("obj/mathlib.a"), QStringLiteral("obj/calc")})
            QVERIFY2(madeAt(file) > first.at(made.indexOf(file)), qPrintable(file));
        QVERIFY(host.consoleText(0).contains(QLatin1String("sum=5 product=6")));
        QVERIFY(!app->mustRebuilt());
    }

    void aSharedLibraryIsFoundWhenTheProgramRuns()
    {
        makeProgram("#include <stdio.h>\nint mul(int, int);\nint main(void) { printf(\"%d\\n\", mul(6, 7)); return 0; }\n");
        auto* library = qobject_cast<QAStNodeLibrary*>(project->findNode(QStringLiteral("mathlib")));
        QAStConfiguration* own = library->currentConfiguration();
        own->setProperty(QStringLiteral("generationFormat"), QStringLiteral("DLL"));
        own->setProperty(QStringLiteral("cflags"), QStringLiteral("-g -fPIC"));
        QVERIFY2(build(project.get()) == 0, qPrintable(host.consoleText(0)));
        QVERIFY(QFileInfo::exists(path(QStringLiteral("obj/mathlib.so"))));
        QVERIFY2(host.consoleText(0).contains(QLatin1String("42\n")), qPrintable(host.consoleText(0)));
    }
};

QTEST_MAIN(tst_ProgramBuild)
#include "tst_programbuild.moc"
