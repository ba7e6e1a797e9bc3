// The metrics tool on real code against recorded counts, and on small
// sources for each thing it measures.

#include <QDomDocument>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run {
    int status = -1;
    QString errors;
};

Run runTool(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(SDK_METRICS_TOOL), arguments);
    Run run;
    if (!process.waitForFinished(20000))
        return run;
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

QDomDocument readXml(const QString& path)
{
    QDomDocument document;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        document.setContent(&file);
    return document;
}

// Every item of the document below its top, depth first.
QList<QDomElement> items(const QDomElement& top)
{
    QList<QDomElement> found;
    const QDomElement holder = top.firstChildElement(QStringLiteral("ITEMS"));
    for (QDomElement item = holder.firstChildElement(); !item.isNull(); item = item.nextSiblingElement()) {
        found << item;
        found << items(item);
    }
    return found;
}

QString metric(const QDomElement& item, const QString& key)
{
    const QDomElement holder = item.firstChildElement(QStringLiteral("METRICS"));
    for (QDomElement m = holder.firstChildElement(); !m.isNull(); m = m.nextSiblingElement()) {
        if (m.attribute(QStringLiteral("Key")) == key)
            return m.attribute(QStringLiteral("Value"));
    }
    return QStringLiteral("-");
}

} // namespace

class tst_MetricsTool : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    // Rows that share a source share its run: each run costs a parse.
    QHash<QString, QDomDocument> measured;
    int runs = 0;

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        const QString data = QStringLiteral(SDK_TESTDATA_DIR "/bluez/");
        // Their headers are not there: the tool must still see every function.
        const Run run = runTool({"-q", "-d", dir.filePath("bluez"), data + "queue.c", data + "uuid.c", data + "ringbuf.c"});
        QCOMPARE(run.status, 0);
    }

    void agreesWithRecordedCounts_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("a queue of pointers agrees with the recorded counts") << "queue.c";
        QTest::newRow("UUID conversions agree with the recorded counts") << "uuid.c";
        QTest::newRow("a ring buffer agrees with the recorded counts") << "ringbuf.c";
    }
    void agreesWithRecordedCounts()
    {
        QFETCH(QString, source);
        const QString data = QStringLiteral(SDK_TESTDATA_DIR "/bluez/");
        QMap<int, QString> ours;
        const QDomDocument document = readXml(dir.filePath("bluez/" + source + ".met"));
        for (const QDomElement& item : items(document.documentElement()))
            ours.insert(item.attribute("Line").toInt(), item.attribute("Name") + '=' + metric(item, "VG"));
        QMap<int, QString> recorded;
        QFile counts(data + "pmccabe.txt");
        QVERIFY(counts.open(QIODevice::ReadOnly | QIODevice::Text));
        static const QRegularExpression row(QStringLiteral("^(\\d+)\\t(\\S+)\\((\\d+)\\): (\\S+)$"));
        while (!counts.atEnd()) {
            const QRegularExpressionMatch match = row.match(QString::fromUtf8(counts.readLine()).trimmed());
            if (match.hasMatch() && match.captured(2) == source)
                recorded.insert(match.captured(3).toInt(), match.captured(4) + '=' + match.captured(1));
        }
        QVERIFY(recorded.size() > 10);
        QCOMPARE(ours, recorded);
    }

    void measuresWhatIsWritten_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        // One source for the C rows; each function starts on the line named.
        const QString c = "#define CHECK(x) do { if (!(x)) return -1; } while (0)\n" // 1
                          "int g;\nint h;\nint ext(int);\n"                          // 2-4
                          "int branches(int a)\n{\n#if WIDE\n  if (a) return 1;\n#endif\n  return a ? 2 : 3;\n}\n" // 5-11
                          "int macro(int a)\n{\n  CHECK(a && 1);\n  return 0;\n}\n" // 12-16
                          "int loop(int a)\n{\n  do { switch (a) { case 1: break; default: break; } } while (--a);\n  return a;\n}\n" // 17-21
                          "int chain(int a)\n{\n  if (a == 1) return 1;\n  else if (a == 2) return 2;\n"
                          "  else if (a == 3) { while (a) a--; }\n  return 0;\n}\n" // 22-28
                          "int globals(void)\n{\n  static int own;\n  int local = g + g;\n  return local + own + h;\n}\n" // 29-34
                          "int leaf(int a) { return a ? leaf(a - 1) : 0; }\n" // 35
                          "int one(void) { return leaf(1) + ext(1) + ext(2); }\n" // 36
                          "int two(void) { return leaf(2) + puts(\"\"); }\n"; // 37
        QTest::newRow("a branch of #if that is off counts nothing") << "c.c" << c << QStringList() << 5 << "VG" << "2";
        QTest::newRow("a -D option turns the branch on") << "c.c" << c << QStringList {"-DWIDE"} << 5 << "VG" << "3";
        QTest::newRow("a macro's body counts nothing, its argument's && does") << "c.c" << c << QStringList() << 12 << "VG" << "2";
        QTest::newRow("a do-while counts by its while, default counts nothing") << "c.c" << c << QStringList() << 17 << "VG" << "3";
        QTest::newRow("an else if chain stays at one level") << "c.c" << c << QStringList() << 22 << "NestedLevel" << "2";
        QTest::newRow("statements of an else if chain") << "c.c" << c << QStringList() << 22 << "Statements" << "8";
        QTest::newRow("each outside variable once, static locals are the function's own")
            << "c.c" << c << QStringList() << 29 << "EXTVARUSE" << "2";
        QTest::newRow("callers of this file, recursion left out") << "c.c" << c << QStringList() << 35 << "FAN_IN" << "2";
        QTest::newRow("functions defined elsewhere, each once") << "c.c" << c << QStringList() << 36 << "EXTCOMPCALL" << "1";
        const QString cpp = "namespace ns {\nclass A {\npublic:\n  A() {}\n  int f(int x) { return x; }\n  int g(int x);\n};\n}\n"
                            "int ns::A::g(int x)\n{\n  return x && f(x);\n}\n";
        // The C standard of a configuration for C sources must not stop a C++ one.
        const QStringList cStandard {"-std=gnu17"};
        QTest::newRow("a class with its namespace, under a C standard") << "a.cpp" << cpp << cStandard << 2 << "tag" << "CLASS";
        QTest::newRow("a constructor") << "a.cpp" << cpp << cStandard << 4 << "tag" << "CONSTRUCTOR";
        QTest::newRow("a method defined outside names its class") << "a.cpp" << cpp << cStandard << 9 << "Class" << "ns::A";
        QTest::newRow("a method defined outside is measured") << "a.cpp" << cpp << cStandard << 9 << "VG" << "2";
        const QString lines = "// one\n/* two\n   three */\nint x; // four\n\nint y;\n";
        QTest::newRow("a file's lines of code") << "l.c" << lines << QStringList() << 0 << "Src1" << "2";
        QTest::newRow("a file's lines of comment only") << "l.c" << lines << QStringList() << 0 << "Src2" << "3";
        // Operators int and ; (n1 2, N1 4), operands x and y (n2 2, N2 2).
        QTest::newRow("Halstead difficulty") << "l.c" << lines << QStringList() << 0 << "Difficulty" << "1";
        QTest::newRow("Halstead effort") << "l.c" << lines << QStringList() << 0 << "Effort" << "12";
    }
    void measuresWhatIsWritten()
    {
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(QStringList, options);
        QFETCH(int, line);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        const QString cacheKey = name + '\n' + text + '\n' + options.join(' ');
        if (!measured.contains(cacheKey)) {
            const QString source = dir.filePath(name);
            QFile out(source);
            QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
            out.write(text.toUtf8());
            out.close();
            const QString target = dir.filePath(QStringLiteral("out%1.met").arg(++runs));
            const Run run = runTool(QStringList {"-q", "-o", target} + options + QStringList {source});
            QCOMPARE(run.status, 0);
            measured.insert(cacheKey, readXml(target));
        }
        const QDomElement top = measured.value(cacheKey).documentElement();
        QDomElement item = top;
        if (line != 0) {
            item = QDomElement();
            for (const QDomElement& candidate : items(top)) {
                if (candidate.attribute("Line").toInt() == line)
                    item = candidate;
            }
        }
        QVERIFY2(!item.isNull(), qPrintable(QStringLiteral("no item at line %1").arg(line)));
        if (key == QLatin1String("tag"))
            QCOMPARE(item.tagName(), expected);
        else if (key == QLatin1String("Class"))
            QCOMPARE(item.attribute(key), expected);
        else
            QCOMPARE(metric(item, key), expected);
    }

    void reportsWhatItCannotDo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("a source that does not exist") << QStringList {"-q", "/nonexistent/x.c"} << 1 << "cannot be read";
        QTest::newRow("no source at all") << QStringList {"-q"} << 2 << "no source given";
    }
    void reportsWhatItCannotDo()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        const Run run = runTool(arguments);
        QCOMPARE(run.status, status);
        QVERIFY2(run.errors.contains(message), qPrintable(run.errors));
    }
};

QTEST_GUILESS_MAIN(tst_MetricsTool)
#include "tst_metricstool.moc"
