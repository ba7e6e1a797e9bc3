// velmont-batch tag and tags: a source analysed into the objects file, its
// tags listed back by later runs however the file is named, and the files
// either command refuses.

#include "batchfixture.h"

#include <QTest>

class tst_BatchTags : public QObject
{
    Q_OBJECT

private:
    BatchFixture fixture;
    QString project;
    // One run of "tags" for each way of naming the file: the program is
    // slow to start under the sanitizers.
    QHash<QString, BatchFixture::Run> listings;

private slots:
    void initTestCase()
    {
        QVERIFY(fixture.work.isValid());
        project = fixture.copyExample(QStringLiteral("first"));
        QVERIFY(!project.isEmpty());
        QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("shapes"))));
        for (const char* name : {"shape.h", "shape.cpp"}) {
            QVERIFY(QFile::copy(QStringLiteral(SDK_TESTDATA_DIR "/tags/") + QLatin1String(name),
                                fixture.path(QStringLiteral("shapes/")) + QLatin1String(name)));
        }
        QFile outside(fixture.path(QStringLiteral("outside.c")));
        QVERIFY(outside.open(QIODevice::WriteOnly));
        outside.write("int outside(void) { return 0; }\n");
        outside.close();

        const BatchFixture::Run run = fixture.run({project, "tag", "shapes/shape.cpp"});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QVERIFY2(run.out.contains(QStringLiteral("shapes/shape.cpp: 5 tag(s), 1 included file(s)\n")), qPrintable(run.out));
    }

    void tagsListsWhatTagKept_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        const QString body = QStringLiteral("shapes/shape.cpp");
        const QString header = QStringLiteral("ABSOLUTE/shapes/shape.h");
        QTest::newRow("a namespace at file level is no unit to test")
            << body << "../shapes/shape.cpp\n  namespace geometry  line 3, not testable\n";
        QTest::newRow("a body outside its class takes the class's name from the header")
            << body << "  method geometry::Shape::sides() const  line 10, testable\n";
        QTest::newRow("a private body is tested through its file")
            << body << "  method geometry::Shape::clamp(int value) const  line 15, testable through shape.cpp\n";
        QTest::newRow("a free function is tested by itself")
            << body << "  function perimeter(const geometry::Shape & shape,int side)  line 22, testable\n";
        QTest::newRow("the included header, named by its absolute path, nests its class in the namespace")
            << header
            << "  namespace geometry  line 3, not testable\n    class geometry::Shape  line 5, testable\n"
               "      method geometry::Shape::Shape(int sides)  line 8, testable\n";
        QTest::newRow("a private declaration is tested through its class")
            << header << "      method geometry::Shape::clamp(int value) const  line 12, testable through geometry::Shape\n";
        QTest::newRow("without a file, every file of the project, the example's own first")
            << QString() << "./src/stack.c\n";
        QTest::newRow("without a file, the files the analysis added too")
            << QString() << "../shapes/shape.h\n  namespace geometry  line 3, not testable\n";
    }
    void tagsListsWhatTagKept()
    {
        QFETCH(QString, file);
        QFETCH(QString, expected);
        if (!listings.contains(file)) {
            QStringList arguments {project, "tags"};
            if (!file.isEmpty())
                arguments << QString(file).replace(QStringLiteral("ABSOLUTE"), fixture.work.path());
            listings.insert(file, fixture.run(arguments));
        }
        const BatchFixture::Run& run = listings[file];
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QVERIFY2(run.out.contains(expected), qPrintable(run.out));
    }

    void refusesFilesItCannotUse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("tag of a file that does not exist")
            << QStringList {"tag", "shapes/missing.cpp"} << "velmont-batch: no file \"shapes/missing.cpp\"\n";
        QTest::newRow("tags of a file that exists but is none of the project's files")
            << QStringList {"tags", "outside.c"} << "velmont-batch: no file \"outside.c\" in the project\n";
    }
    void refusesFilesItCannotUse()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const BatchFixture::Run run = fixture.run(QStringList {project} + arguments);
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.endsWith(message), qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BatchTags)
#include "tst_batchtags.moc"
