#include "qastanalysemsg.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using Sources = QMap<QString, QString>;

// The parser asks the file system which substring is a file, so every case
// runs among files of its own, in a directory that is also the current one:
// relative names in a message are taken relative to it. %1 in the data
// stands for that directory.
class tst_MessageAnalysis : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString previousDirectory;

    QString inDir(QString text) const { return text.replace(QLatin1String("%1"), dir.path()); }

    void write(const QString& name, const QString& content = QString())
    {
        QVERIFY(QDir().mkpath(QFileInfo(dir.filePath(name)).absolutePath()));
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8());
    }

    static void row(const char* tag, const char* message, const char* file, int line, int column,
                    const char* anchor = nullptr)
    {
        QTest::newRow(tag) << message << QString::fromUtf8(file) << line << column << QString::fromUtf8(anchor);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        previousDirectory = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        for (const char* name : {"x.c", "c.c", "x.c.orig", "a b/c.c"})
            write(QString::fromLatin1(name));
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("dir.c"))));
    }

    void cleanupTestCase() { QDir::setCurrent(previousDirectory); }

    void analyze_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("anchor");

        row("an absolute path with a blank, line and column after at", "see %1/a b/c.c at 9:3", "%1/a b/c.c", 9, 3);
        row("a two-digit line reads the column one digit too far on", "c.c at 10:37", "c.c", 10, 7);
        row("two-digit line and column: the column's last digit", "x.c:12:75", "x.c", 12, 5);
        row("two-digit line, one-digit column: no column", "x.c:12:7", "x.c", 12, 0);
        row("a blank behind the separator: no column", "x.c:12: note", "x.c", 12, 0);
        row("comma and line", "x.c,line 5:7", "x.c", 5, 7);
        row("quoted name, line and a dotted column", "\"x.c\", line 5.7: oops", "x.c", 5, 7);
        row("comma, line and a colon", "x.c, line: 12", "x.c", 12, 0);
        row("comma and the number", "x.c,12", "x.c", 12, 0);
        row("the number in parentheses", "x.c(12) : error", "x.c", 12, 0);
        row("slash and Line", "x.c/Line 12", "x.c", 12, 0);
        row("the prefix may stand anywhere behind the name", "x.c then c.c:4", "x.c", 4, 0);
        row("digits must follow the prefix's first match", "x.c at end, at 5", "x.c", 0, 0);
        row("the longest name at the leftmost start", "x.c.orig:3", "x.c.orig", 3, 0);
        row("a line number too large for an int is none", "x.c:99999999999", "x.c", 0, 0);
        row("an anchor and no line", "x.c#frag", "x.c", 0, 0, "frag");
        row("the anchor is behind the last hash", "see x.c:3 #a#b", "x.c", 3, 0, "b");
        row("a directory is no file", "dir.c:3:1: error", nullptr, 0, 0);
        row("a word that looks like a path", "/no/such/file.c:3:1", nullptr, 0, 0);
    }

    void analyze()
    {
        QFETCH(QString, message);
        QFETCH(QString, file);
        QFETCH(int, line);
        QFETCH(int, column);
        QFETCH(QString, anchor);

        QAStAnalyseMsg analyser;
        // Nothing of an earlier message may survive the next one.
        QVERIFY(analyser.analyze(QStringLiteral("x.c:1:2 #old")));
        QCOMPARE(analyser.analyze(inDir(message)), !file.isNull());
        QCOMPARE(analyser.file, inDir(file));
        QCOMPARE(analyser.file.isNull(), file.isNull());
        QCOMPARE(analyser.line, line);
        QCOMPARE(analyser.column, column);
        QCOMPARE(analyser.anchor, anchor);
    }

    void compilerOutput_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Sources>("sources");
        QTest::addColumn<QStringList>("expected");

        // Every diagnostic is on a line of one digit, where columns read right.
        QTest::newRow("gcc, a C file in a directory with blanks, by a relative name")
            << "gcc" << QStringList{"-Wall", "-c", "gcc dir/broken file.c", "-o", "/dev/null"}
            << Sources{{"gcc dir/broken file.c", "int main(void)\n{\n    int unused;\n    return undeclared;\n}\n"}}
            << QStringList{"gcc dir/broken file.c:4:12", "gcc dir/broken file.c:3:9"};
        QTest::newRow("g++, a warning in a header in a directory with blanks, by an absolute name")
            << "g++" << QStringList{"-Wall", "-c", "%1/g++ dir/other file.cpp", "-o", "/dev/null"}
            << Sources{{"g++ dir/inc dir/helper header.h", "int helper()\n{\n}\n"},
                       {"g++ dir/other file.cpp",
                        "#include \"inc dir/helper header.h\"\n\nint f(int a)\n{\n    return a + nope;\n}\n"}}
            << QStringList{"g++ dir/other file.cpp:1:0", "g++ dir/inc dir/helper header.h:3:1",
                           "g++ dir/other file.cpp:5:16"};
        QTest::newRow("perl, a script with a syntax error")
            << "perl" << QStringList{"perl dir/my script.pl"}
            << Sources{{"perl dir/my script.pl", "use strict;\nuse warnings;\nmy $x = ;\nprint \"$x\\n\";\n"}}
            << QStringList{"perl dir/my script.pl:3:0", "perl dir/my script.pl:4:0"};
    }

    // Each line of the tool's output that names a file and a line gives
    // "name:line:column", the name relative to the directory.
    void compilerOutput()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        QFETCH(Sources, sources);
        QFETCH(QStringList, expected);

        const QString executable = QStandardPaths::findExecutable(program);
        if (executable.isEmpty())
            QSKIP(qPrintable(program + QStringLiteral(" is not on PATH")));
        for (auto it = sources.cbegin(); it != sources.cend(); ++it)
            write(it.key(), it.value());
        for (QString& argument : arguments)
            argument = inDir(argument);

        QProcess tool;
        tool.setWorkingDirectory(dir.path());
        tool.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        tool.setProcessEnvironment(environment);
        tool.start(executable, arguments);
        QVERIFY2(tool.waitForFinished(60000), qPrintable(tool.errorString()));
        const QByteArray output = tool.readAll();
        QVERIFY2(tool.exitCode() != 0, output.constData());

        QStringList found;
        for (const QString& line : QString::fromLocal8Bit(output).split(QLatin1Char('\n'))) {
            QAStAnalyseMsg message;
            if (message.analyze(line) && message.line > 0)
                found << QStringLiteral("%1:%2:%3").arg(QDir(dir.path()).relativeFilePath(message.file))
                             .arg(message.line).arg(message.column);
        }
        found.removeDuplicates();
        QCOMPARE(found, expected);
    }
};

QTEST_GUILESS_MAIN(tst_MessageAnalysis)
#include "tst_messageanalysis.moc"
