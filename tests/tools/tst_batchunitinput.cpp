#include "unittestfixture.h"

#include <QTest>

// Component tests that cannot run: a script that does not read, and node
// kinds the reference tool chain has no language for.
class tst_BatchUnitInput : public QObject
{
    Q_OBJECT

    using Edits = UnitTestFixture::Edits;

private slots:
    void badInputStopsTheBuild_data()
    {
        QTest::addColumn<Edits>("scriptEdits");
        QTest::addColumn<Edits>("projectEdits");
        QTest::addColumn<QString>("node");
        QTest::addColumn<QString>("message");
        QTest::newRow("a statement the language lacks, at its line")
            << Edits {{"check ring.count in 4 .. 4", "check ring.count between 4 and 4"}} << Edits() << "ring"
            << "src/ring.ptu:32: error: expected \"check VARIABLE = VALUE\"";
        const QString node = QStringLiteral(
            "<node><data><name>%1</name><quid>%2</quid></data><current_configuration>Native C</current_configuration>"
            "<state>0</state><background>false</background><configuration_list><configuration><name>Native C</name>"
            "</configuration></configuration_list></node><test_child></test_child>");
        QTest::newRow("object testing has no language in the reference tool chain")
            << Edits()
            << Edits {{"</unit_testing>",
                       "</unit_testing><object_testing><test>" + node.arg("cpp", "3100") + "</test></object_testing>"}}
            << "cpp" << "Klassor.pl: cpp: the reference tool chain has no C++ object test language\n";
        QTest::newRow("nor Java testing")
            << Edits()
            << Edits {{"</unit_testing>",
                       "</unit_testing><java_testing><test>" + node.arg("java", "3101") + "</test></java_testing>"}}
            << "java" << "JavaTesting.pl: java: the reference tool chain has no Java test language\n";
    }
    void badInputStopsTheBuild()
    {
        QFETCH(Edits, scriptEdits);
        QFETCH(Edits, projectEdits);
        QFETCH(QString, node);
        QFETCH(QString, message);
        UnitTestFixture fixture;
        const QString project = fixture.copy(scriptEdits, projectEdits);
        QVERIFY(!project.isEmpty());
        const BatchFixture::Run run = fixture.run({project, QStringLiteral("build"), node}, RecordingHost::stageDir());
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(!QFileInfo::exists(fixture.path(QStringLiteral("unittest/obj/ring"))));
    }
};

QTEST_MAIN(tst_BatchUnitInput)
#include "tst_batchunitinput.moc"
