// The metrics tree: the number reader, the totals of every level, the class
// family over members defined elsewhere, the queries and the testing time.

#include "qastdata.h"
#include "qmetelement.h"
#include "qmetmetric.h"
#include "qmetquery.h"
#include "qmetreader.h"
#include "qmettree.h"
#include "recordinghost.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <memory>

namespace {

// One item: its tag, attributes, metrics "K=v;K=v" and sub-items.
QString item(const QString& tag, const QString& attributes, const QString& metrics, const QString& items = QString())
{
    QString text = QStringLiteral("<%1 %2>").arg(tag, attributes);
    if (!metrics.isEmpty()) {
        text += QLatin1String("<METRICS>");
        for (const QString& pair : metrics.split(QLatin1Char(';'))) {
            const QStringList parts = pair.split(QLatin1Char('='));
            text += QStringLiteral("<METRIC Key=\"%1\" Value=\"%2\"/>").arg(parts.at(0), parts.at(1));
        }
        text += QLatin1String("</METRICS>");
    }
    if (!items.isEmpty())
        text += QLatin1String("<ITEMS>") + items + QLatin1String("</ITEMS>");
    return text + QStringLiteral("</%1>").arg(tag);
}

QString function(const QString& name, int line, const QString& metrics)
{
    return item(QStringLiteral("FUNCTION"), QStringLiteral("Name=\"%1\" Line=\"%2\"").arg(name).arg(line), metrics);
}

QString method(const QString& name, int line, const QString& cls, const QString& metrics)
{
    return item(QStringLiteral("METHOD"), QStringLiteral("Name=\"%1\" Line=\"%2\" Class=\"%3\"").arg(name).arg(line).arg(cls),
                metrics);
}

QString file(const QString& name, const QString& metrics, const QString& items)
{
    return item(QStringLiteral("FILE"), QStringLiteral("Name=\"%1\" Dir=\"/src\"").arg(name), metrics, items);
}

float value(const QMetElement* element, const QString& key)
{
    const QMetMetric* metric = element ? element->metric(key) : nullptr;
    return metric ? metric->value() : NAN;
}

} // namespace

class tst_MetricsTree : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    RecordingHost host;

    QString write(const QString& name, const QString& text)
    {
        const QString path = dir.filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return QString();
        out.write(text.toUtf8());
        return path;
    }
    std::unique_ptr<QMetTree> load(const QStringList& files)
    {
        auto tree = std::make_unique<QMetTree>(files);
        tree->init();
        return tree;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QAStData::initialize(&host);
    }
    void cleanupTestCase() { QAStData::initialize(nullptr); }
    void init() { host.boxes.clear(); }

    void readsNumbersWithoutLocale_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<float>("expected");
        QTest::newRow("a comma is a decimal point") << "1,5" << 1.5f;
        QTest::newRow("a point is a decimal point") << "1.5" << 1.5f;
        QTest::newRow("an exponent multiplies") << "2E3" << 2000.0f;
        QTest::newRow("a negative exponent divides") << "25e-1" << 2.5f;
        QTest::newRow("a fraction without integer part") << "-.5" << -0.5f;
        QTest::newRow("a plus sign") << "+7" << 7.0f;
        QTest::newRow("the empty text is zero") << "" << 0.0f;
        QTest::newRow("NaN is no number and reads as zero") << "NaN" << 0.0f;
        QTest::newRow("trailing text is ignored") << "12abc" << 12.0f;
        QTest::newRow("leading blanks end the number at once") << " 3" << 0.0f;
        QTest::newRow("a huge exponent gives infinity, not a hang") << "1e999999999999" << INFINITY;
        QTest::newRow("a tiny exponent gives zero") << "1e-999999999999" << 0.0f;
    }
    void readsNumbersWithoutLocale()
    {
        QFETCH(QString, text);
        QFETCH(float, expected);
        QCOMPARE(QMetMetric::stringToFloat(text), expected);
    }

    void derivesEveryLevel_data()
    {
        QTest::addColumn<QString>("functions");
        QTest::addColumn<QString>("key");
        QTest::addColumn<float>("expected");
        const QString three = function("a", 1, "VG=1") + function("b", 5, "VG=3") + function("c", 9, "VG=8");
        QTest::newRow("the sum adds every leaf") << three << "VG_SUM" << 12.0f;
        QTest::newRow("the mean divides by the leaves") << three << "VG_MEAN" << 4.0f;
        QTest::newRow("the maximum is the largest leaf") << three << "VG_MAX" << 8.0f;
        // Population form: sqrt(((1-4)^2 + (3-4)^2 + (8-4)^2) / 3).
        QTest::newRow("the deviation divides by n, not n - 1") << three << "VG_STD" << float(std::sqrt(26.0 / 3));
        const QString one = function("a", 1, "VG=5");
        QTest::newRow("a single leaf is its own sum") << one << "VG_SUM" << 5.0f;
        QTest::newRow("a single leaf is its own mean") << one << "VG_MEAN" << 5.0f;
        QTest::newRow("a single leaf is its own maximum") << one << "VG_MAX" << 5.0f;
        QTest::newRow("a single leaf deviates by nothing") << one << "VG_STD" << 0.0f;
        QTest::newRow("negative values never raise the maximum") << function("a", 1, "VG=-2") << "VG_MAX" << 0.0f;
        const QString partial = function("a", 1, "VG=2") + function("b", 2, "Statements=4");
        QTest::newRow("a leaf without the key does not count in its mean") << partial << "VG_MEAN" << 2.0f;
    }
    void derivesEveryLevel()
    {
        QFETCH(QString, functions);
        QFETCH(QString, key);
        QFETCH(float, expected);
        const auto tree = load({write("levels.met", file("levels.c", QString(), functions))});
        const QMetElement* fileElement = tree->root()->children().value(0);
        QVERIFY(fileElement);
        QCOMPARE(value(fileElement, key), expected);
    }

    void sumsClimbThroughClasses()
    {
        // A class between the file and its methods: the root sees every leaf.
        const QString cls = item("CLASS", "Name=\"A\" Line=\"2\"", QString(),
                                 method("f", 3, "A", "VG=2") + method("g", 4, "A", "VG=4"));
        const auto tree = load({write("climb.met", file("climb.cpp", "Src1=10", cls + function("h", 9, "VG=6")))});
        const QMetElement* fileElement = tree->root()->children().value(0);
        QCOMPARE(value(fileElement, "VG_SUM"), 12.0f);
        QCOMPARE(fileElement->counter("VG"), 3);
        QCOMPARE(value(fileElement, "VG_MEAN"), 4.0f);
        QCOMPARE(value(tree->root(), "VG_SUM"), 12.0f);
        // The file's own value is a leaf of the root.
        QCOMPARE(value(tree->root(), "Src1_SUM"), 10.0f);
        // The deviation at the file reaches the methods through the class.
        QCOMPARE(value(fileElement, "VG_STD"), float(std::sqrt((4.0 + 0.0 + 4.0) / 3)));
    }

    void classFamilyTakesMembersDefinedElsewhere()
    {
        const QString header = file("a.h", QString(),
                                    item("CLASS", "Name=\"A\" Line=\"3\"", QString(), method("inl", 5, "A", "VG=2;Statements=3")));
        const QString source = file("a.cpp", QString(),
                                    method("out", 10, "A", "VG=4;Statements=1") + method("other", 20, "A", "Statements=5"));
        const auto tree = load({write("a.h.met", header), write("a.cpp.met", source)});
        const QMetElement* cls = tree->root()->children().value(0)->children().value(0);
        QVERIFY(cls);
        QCOMPARE(cls->type(), QStringLiteral("CLASS"));
        QCOMPARE(cls->classMembers().size(), 2);
        QCOMPARE(value(cls, "VG_SUM"), 2.0f);
        QCOMPARE(cls->metric2("VG_SUM2")->value(), 6.0f);
        QCOMPARE(cls->metric2("VG_MAX2")->value(), 4.0f);
        // Every member counts in n, also the one without a VG: (2 + 4) / 3.
        QCOMPARE(cls->metric2("VG_MEAN2")->value(), 2.0f);
        QCOMPARE(cls->metric2("VG_STD2")->value(), float(std::sqrt((0.0 + 4.0) / 3)));
        QCOMPARE(cls->metric2("Statements_SUM2")->value(), 9.0f);

        QMetQuery query(tree.get());
        QCOMPARE(query.getVgValue("a.h", 3), QStringLiteral("6"));
        QCOMPARE(query.getStatementsValue("a.h", 3), QStringLiteral("9"));
        // The member stays where it was defined, out of its file's class sums.
        QCOMPARE(query.getVgValue("a.cpp", 10), QStringLiteral("4"));
        QCOMPARE(query.getVgSumValue("a.h"), QStringLiteral("2"));
    }

    void answersQueries_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("a file's cyclomatic sum") << "q.c" << 0 << "VG_SUM" << "7";
        QTest::newRow("a file's statements") << "q.c" << 0 << "Statements_SUM" << "12";
        QTest::newRow("a file's difficulty, decimals kept") << "q.c" << 0 << "Difficulty" << "12.25";
        QTest::newRow("source lines add code and comments") << "q.c" << 0 << "lines" << "150";
        QTest::newRow("a name in another case and directory") << "/else/where/Q.C" << 0 << "VG_SUM" << "7";
        QTest::newRow("an unknown file") << "r.c" << 0 << "VG_SUM" << "-";
        QTest::newRow("a key the file lacks") << "q.c" << 0 << "Effort" << "-";
        QTest::newRow("a function by its line") << "q.c" << 20 << "VG" << "5";
        QTest::newRow("a function nested in a class") << "q.c" << 31 << "FAN_IN" << "3";
        QTest::newRow("an unknown line") << "q.c" << 99 << "VG" << "-";
        QTest::newRow("a class without any metric") << "q.c" << 40 << "VG" << "-";
        QTest::newRow("a class's other keys are its own") << "q.c" << 30 << "FAN_IN" << "-";
        QTest::newRow("the first of two files of one name answers") << "dup.c" << 0 << "VG_SUM" << "1";
    }
    void answersQueries()
    {
        QFETCH(QString, file);
        QFETCH(int, line);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        const QString functions = function("f", 20, "VG=5;Statements=10")
            + item("CLASS", "Name=\"C\" Line=\"30\"", QString(), method("m", 31, "C", "VG=2;Statements=2;FAN_IN=3"))
            + item("CLASS", "Name=\"Empty\" Line=\"40\"", QString());
        const auto tree = load({write("q.met", ::file("q.c", "Difficulty=12,25;Src1=100.9;Src2=50", functions)),
                                write("one/dup.met", ::file("dup.c", QString(), function("d", 1, "VG=1"))),
                                write("two/dup.met", ::file("dup.c", QString(), function("d", 1, "VG=9")))});
        QMetQuery query(tree.get());
        if (key == QLatin1String("lines"))
            QCOMPARE(query.getSourceLinesValue(file), expected);
        else if (line == 0)
            QCOMPARE(query.fileMetric(file, key), expected);
        else
            QCOMPARE(query.itemMetric(file, line, key), expected);
    }

    void queriesWithoutTreeAnswerNothing()
    {
        const QMetQuery query;
        QCOMPARE(query.getVgSumValue("a.c"), QStringLiteral("-"));
        QCOMPARE(query.getVgValue("a.c", 1), QStringLiteral("-"));
    }

    void testingTimeFollowsTheStroudNumber()
    {
        const auto tree = load({write("t1.met", file("t1.c", "Effort=360", function("f", 1, "VG=1"))),
                                write("t2.met", file("t2.c", "Effort=180", QString()))});
        const QMetElement* first = tree->root()->children().value(0);
        tree->stroudChange(18);
        QCOMPARE(value(first, "TestingTime"), 20.0f);
        QCOMPARE(value(tree->root(), "TestingTime_SUM"), 30.0f);
        tree->stroudChanged(0);
        QCOMPARE(value(first, "TestingTime"), 20.0f);
        QCOMPARE(value(tree->root(), "TestingTime_SUM"), 30.0f);
        tree->stroudChange(36);
        QCOMPARE(value(first, "TestingTime"), 10.0f);
        // Only the files and the root: a function has no effort of its own.
        QVERIFY(!first->children().value(0)->metric("TestingTime"));
    }

    void readsEachFileOnce()
    {
        const QString path = write("once.met", file("once.c", QString(), function("f", 1, "VG=3")));
        QStringList files {path, path, dir.filePath("missing.met"), path};
        QMetReader reader(QStringList(), nullptr);
        reader.addMetFiles(files);
        QCOMPARE(files, (QStringList {path, dir.filePath("missing.met")}));
        QCOMPARE(reader.rootElement().childNodes().size(), 1);
        const auto tree = load({path, path});
        QCOMPARE(tree->root()->children().size(), 1);
        QCOMPARE(value(tree->root(), "VG_SUM"), 3.0f);
        // A file that cannot be opened is passed by silently.
        QVERIFY(host.boxes.isEmpty());
    }

    void leavesOutBrokenFiles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("an unclosed element") << "<FILE Name=\"bad.c\"><ITEMS>";
        QTest::newRow("an empty file") << "";
        QTest::newRow("text that is no XML") << "VG=3";
        QString deep = QStringLiteral("<FILE Name=\"bad.c\">");
        for (int i = 0; i < QMetReader::MaximumDepth; ++i)
            deep += QStringLiteral("<ITEMS><FUNCTION Name=\"f%1\" Line=\"%1\">").arg(i);
        for (int i = 0; i < QMetReader::MaximumDepth; ++i)
            deep += QStringLiteral("</FUNCTION></ITEMS>");
        QTest::newRow("items nested deeper than any tool writes") << deep + "</FILE>";
    }
    void leavesOutBrokenFiles()
    {
        QFETCH(QString, text);
        const QString bad = write("bad.met", text);
        const QString good = write("good.met", file("good.c", QString(), function("f", 1, "VG=2")));
        const auto tree = load({bad, good});
        QCOMPARE(host.boxes, (QStringList {QStringLiteral("Velmont Studio|Parsing error for file %1").arg(bad)}));
        QCOMPARE(tree->root()->children().size(), 1);
        QCOMPARE(tree->root()->children().value(0)->name(), QStringLiteral("good.c"));
        QCOMPARE(value(tree->root(), "VG_SUM"), 2.0f);
    }
};

QTEST_GUILESS_MAIN(tst_MetricsTree)
#include "tst_metricstree.moc"
