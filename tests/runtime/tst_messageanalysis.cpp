#include "qastanalysemsg.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using Sources = QMap<QString, QString>;

// The parser asks the file system which substring is a file, so every case
// runs in a directory of its own files, which is also the current directory:
// relative names in a message are taken relative to it.
class tst_MessageAnalysis : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString previousDirectory;

    QString inDir(QString text) const { return text.replace(QLatin1String("%1"), dir.path()); }

    void write(const QString& name, const QByteArray& content = QByteArray())
    {
        const QString path = dir.filePath(name);
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    // "name:line:column" of every output line that names a file and a line,
    // the name relative to the directory, in the order of the output.
    QStringList positions(const QByteArray& output)
    {
        QStringList found;
        for (const QString& line : QString::fromLocal8Bit(output).split(QLatin1Char('\n'))) {
            QAStAnalyseMsg message;
            if (message.analyze(line) && message.line > 0)
                found << QStringLiteral("%1:%2:%3")
                             .arg(QDir(dir.path()).relativeFilePath(message.file))
                             .arg(message.line)
                             .arg(message.column);
        }
        found.removeDuplicates();
        return found;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        previousDirectory = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        write(QStringLiteral("x.c"));
        write(QStringLiteral("c.c"));
        write(QStringLiteral("x.c.orig"));
        write(QStringLiteral("a b/c.c"));
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("dir.c"))));
    }

    void cleanupTestCase() { QDir::setCurrent(previousDirectory); }

    void analyze_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("found");
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("anchor");

        // %1 stands for the directory of the files.
        QTest::newRow("an absolute path with a blank, line and column after at")
            << "error in %1/a b/c.c at 9:3" << true << "%1/a b/c.c" << 9 << 3 << QString();
        QTest::newRow("a two-digit line reads the column one digit too far on")
            << "c.c at 10:37" << true << "c.c" << 10 << 7 << QString();
        QTest::newRow("two-digit line and column: the column's last digit")
            << "x.c:12:75" << true << "x.c" << 12 << 5 << QString();
        QTest::newRow("two-digit line, one-digit column: no column")
            << "x.c:12:7" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("one-digit line and column") << "x.c:5:7: error" << true << "x.c" << 5 << 7 << QString();
        QTest::newRow("a blank behind the separator: no column")
            << "x.c:12: note" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("comma and line") << "x.c,line 5:7" << true << "x.c" << 5 << 7 << QString();
        QTest::newRow("quoted name, line and a dotted column")
            << "\"x.c\", line 5.7: oops" << true << "x.c" << 5 << 7 << QString();
        QTest::newRow("comma, line and a colon") << "x.c, line: 12" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("comma and the number") << "x.c,12" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("the number in parentheses") << "x.c(12) : error" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("slash and Line") << "x.c/Line 12" << true << "x.c" << 12 << 0 << QString();
        QTest::newRow("line is case-sensitive") << "x.c LINE 12" << true << "x.c" << 0 << 0 << QString();
        QTest::newRow("the prefix may stand anywhere behind the name")
            << "x.c then c.c:4" << true << "x.c" << 4 << 0 << QString();
        QTest::newRow("digits must follow the first match of the prefix")
            << "x.c at end, at 5" << true << "x.c" << 0 << 0 << QString();
        QTest::newRow("the longest name at the leftmost start")
            << "x.c.orig:3" << true << "x.c.orig" << 3 << 0 << QString();
        QTest::newRow("a line number too large for an int is none")
            << "x.c:99999999999" << true << "x.c" << 0 << 0 << QString();
        QTest::newRow("an anchor and no line") << "x.c#frag" << true << "x.c" << 0 << 0 << "frag";
        QTest::newRow("the anchor is behind the last hash")
            << "see x.c:3 #a#b" << true << "x.c" << 3 << 0 << "b";
        QTest::newRow("a directory is no file") << "dir.c:3:1: error" << false << QString() << 0 << 0 << QString();
        QTest::newRow("a word that looks like a path") << "/no/such/file.c:3:1" << false << QString() << 0 << 0
                                                       << QString();
        QTest::newRow("one character") << "x" << false << QString() << 0 << 0 << QString();
        QTest::newRow("nothing") << "" << false << QString() << 0 << 0 << QString();
    }

    void analyze()
    {
        QFETCH(QString, message);
        QFETCH(bool, found);
        QFETCH(QString, file);
        QFETCH(int, line);
        QFETCH(int, column);
        QFETCH(QString, anchor);

        QAStAnalyseMsg analyser;
        // A stale result must not survive the next message.
        QVERIFY(analyser.analyze(QStringLiteral("x.c:1:2 #old")));
        QCOMPARE(analyser.analyze(inDir(message)), found);
        QCOMPARE(analyser.file, file.isNull() ? QString() : inDir(file));
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

        // Every error and warning is on a line of one digit, where columns read right.
        QTest::newRow("gcc, a C file in a directory with blanks, by a relative name")
            << "gcc" << QStringList{"-Wall", "-c", "gcc dir/broken file.c", "-o", "/dev/null"}
            << Sources{{"gcc dir/broken file.c",
                        "int main(void)\n{\n    int unused;\n    return undeclared;\n}\n"}}
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
        QTest::newRow("perl, a warning and a die at run time, by an absolute name")
            << "perl" << QStringList{"%1/perl dir/run script.pl"}
            << Sources{{"perl dir/run script.pl", "use warnings;\nmy $u;\nprint \"x\" . $u;\ndie \"boom\";\n"}}
            << QStringList{"perl dir/run script.pl:3:0", "perl dir/run script.pl:4:0"};
    }

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
            write(it.key(), it.value().toUtf8());
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

        QCOMPARE(positions(output), expected);
    }
};

QTEST_GUILESS_MAIN(tst_MessageAnalysis)
#include "tst_messageanalysis.moc"
