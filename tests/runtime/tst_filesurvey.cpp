#include "qafilesurvey.h"

#include <QDateTime>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

// Polls are driven by calling survey() directly, so that each step of a
// scenario happens between two polls exactly.
class tst_FileSurvey : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString path;

    static QString shown(QByteArray text)
    {
        return QString::fromLatin1(text.replace('\n', '$').replace('\r', "^M"));
    }
    void write(const QByteArray& bytes, QIODevice::OpenMode mode)
    {
        QFile file(path);
        QVERIFY(file.open(mode));
        QCOMPARE(file.write(bytes), bytes.size());
    }

private slots:
    void init()
    {
        path = dir.filePath(QStringLiteral("stream.spt"));
        QFile::remove(path);
    }

    // Steps: "+text" appends, "=text" truncates to nothing and writes,
    // "<n" truncates to n bytes, "-" removes, "s" takes a snapshot, "p" polls.
    void events_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<int>("disappearPolicy");
        QTest::addColumn<int>("shrinkPolicy");
        QTest::addColumn<QString>("events");

        const int signal = QAFileSurvey::Signal, stop = QAFileSurvey::Stop, restart = QAFileSurvey::Restart;
        QTest::newRow("a file absent at first is read from its first byte once it appears")
            << QStringList {"p", "+a\nb\n", "p"} << signal << stop << "appear a$ b$";
        QTest::newRow("a snapshot leaves out what the file held")
            << QStringList {"+old\nlines\n", "s", "+new\n", "p"} << signal << stop << "new$";
        QTest::newRow("a last line without its line feed waits for it, then comes once")
            << QStringList {"+first\npar", "p", "p", "+tial\n", "p"} << signal << stop << "appear first$ partial$";
        QTest::newRow("carriage returns and NUL bytes never reach a line")
            << QStringList {"p", QString::fromLatin1("+a\r\nb\0c\r\n", 9), "p"} << signal << stop << "appear a$ bc$";
        QTest::newRow("a byte 0xFF stalls the reading at its place for good")
            << QStringList {QString::fromLatin1("+a\nb\xff" "c\n"), "p", "+d\n", "p"} << signal << stop << "appear a$";
        QTest::newRow("a file rewritten longer between polls is read on at the old position")
            << QStringList {"+abc\n", "p", "=0123456789\n", "p"} << signal << stop << "appear abc$ 456789$";
        QTest::newRow("a shrink is told once and reading goes on from the new end")
            << QStringList {"+abcdef\n", "p", "<2", "p", "p", "+c\n", "p"} << signal << stop
            << "appear abcdef$ shrink c$";
        QTest::newRow("a shrink with the restart policy reads the file again from its start")
            << QStringList {"+abcdef\n", "p", "=xy\n", "p", "p"} << signal << restart << "appear abcdef$ shrink appear xy$";
        QTest::newRow("a deleted file is told once and read on at the old position when it is back")
            << QStringList {"+one\n", "p", "-", "p", "p", "+one\ntwo\n", "p"} << signal << stop
            << "appear one$ disappear appear two$";
        QTest::newRow("a file back shorter than the position is a shrink as well")
            << QStringList {"+one\n", "p", "-", "p", "+x\n", "p", "+y\n", "p"} << signal << stop
            << "appear one$ disappear appear shrink y$";
        QTest::newRow("a deleted file with the restart policy is read from its first byte when it is back")
            << QStringList {"+one\n", "p", "-", "p", "p", "+new\n", "p"} << restart << stop
            << "appear one$ disappear appear new$";
        QTest::newRow("a deleted file with the stop policy ends the polling")
            << QStringList {"+one\n", "p", "-", "p"} << stop << stop << "appear one$ disappear stopped";
    }
    void events()
    {
        QFETCH(QStringList, steps);
        QFETCH(int, disappearPolicy);
        QFETCH(int, shrinkPolicy);

        QAFileSurvey survey(path, 10);
        survey.setDisappearPolicy(disappearPolicy);
        survey.setShrinkPolicy(shrinkPolicy);
        QStringList events;
        connect(&survey, &QAFileSurvey::fileAppear, this, [&] { events << "appear"; });
        connect(&survey, &QAFileSurvey::fileDisappear, this, [&] { events << "disappear"; });
        connect(&survey, &QAFileSurvey::fileShrink, this, [&] { events << "shrink"; });
        connect(&survey, &QAFileSurvey::hasNewLine, this, [&](const char* line) { events << shown(line); });
        for (const QString& step : std::as_const(steps)) {
            const QByteArray text = step.mid(1).toLatin1();
            switch (step.at(0).toLatin1()) {
            case '+': write(text, QIODevice::Append); break;
            case '=': write(text, QIODevice::WriteOnly | QIODevice::Truncate); break;
            case '<': QVERIFY(QFile::resize(path, text.toInt())); break;
            case '-': QVERIFY(QFile::remove(path)); break;
            case 's': survey.snapShot(); break;
            case 'p': survey.survey(); break;
            }
        }
        if (!survey.isActive())
            events << "stopped";
        QTEST(events.join(QLatin1Char(' ')), "events");
    }

    // A quiet poll lengthens the delay by twice the base, up to a thousand
    // times the base; a byte brings it back to the base at once.
    void backOff()
    {
        write("line\n", QIODevice::WriteOnly);
        QAFileSurvey survey(path, 3);
        survey.survey();
        QCOMPARE(survey.currentDelay(), 3);
        survey.survey();
        QCOMPARE(survey.currentDelay(), 9);
        for (int i = 0; i < 600; ++i)
            survey.survey();
        QCOMPARE(survey.currentDelay(), 3000);
        write("more\n", QIODevice::Append);
        survey.survey();
        QCOMPARE(survey.currentDelay(), 3);
        QFile::remove(path);
        survey.survey();
        QCOMPARE(survey.currentDelay(), 3);
        QVERIFY(survey.isActive());
    }

    void settling_data()
    {
        QTest::addColumn<int>("changes");
        QTest::addColumn<int>("modifications");
        QTest::newRow("the first modification time seen is no modification") << 0 << 0;
        QTest::newRow("two changes less than the settle delay apart are one modification") << 2 << 1;
    }
    void settling()
    {
        QFETCH(int, changes);
        write("x\n", QIODevice::WriteOnly);
        QAFileSurvey survey(path, 10000);
        QSignalSpy modified(&survey, &QAFileSurvey::modified);
        survey.survey();
        const QDateTime time = QDateTime::currentDateTime();
        for (int i = 1; i <= changes; ++i) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::Append));
            QVERIFY(file.setFileTime(time.addSecs(i * 10), QFileDevice::FileModificationTime));
            file.close();
            survey.survey();
        }
        QTEST(int(modified.wait(changes ? 3000 : 700)), "modifications");
        QVERIFY(!modified.wait(700));
        QTEST(int(modified.count()), "modifications");
        if (changes)
            QCOMPARE(modified.first().first().toString(), path);
    }

    // A listener that restarts the survey in the middle of a block: the rest
    // of the block is not delivered at the old offsets.
    void restartFromListener()
    {
        write("a\nb\nc\n", QIODevice::WriteOnly);
        QAFileSurvey survey(path, 10);
        QStringList lines;
        connect(&survey, &QAFileSurvey::hasNewLine, this, [&](const char* line) {
            lines << shown(line);
            if (lines.size() == 2)
                survey.restart(false);
        });
        survey.survey();
        QCOMPARE(lines, QStringList({"a$", "b$"}));
        QCOMPARE(survey.position(), 0);
        survey.survey();
        QCOMPARE(lines, QStringList({"a$", "b$", "a$", "b$", "c$"}));
    }
};

QTEST_GUILESS_MAIN(tst_FileSurvey)
#include "tst_filesurvey.moc"
