#include "qafilesurvey.h"
#include "qastsplitsurvey.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

class tst_TraceSplit : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> dir;
    QString splitFile;

    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void append(const QByteArray& bytes, const QString& path = QString())
    {
        QFile file(path.isEmpty() ? splitFile : path);
        QVERIFY(file.open(QIODevice::Append));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    // The outputs that hold something, by their suffix, each with its text;
    // a date stamped now reads <now>.
    static QString outputs(const QASTSplitSurvey& splitter)
    {
        static const QRegularExpression now(QStringLiteral("\"\\w{3} \\w{3} [ \\d]\\d \\d\\d:\\d\\d:\\d\\d %1\"")
                                                .arg(QDate::currentDate().year()));
        QStringList shown;
        for (int i = 0; i < QASTSplitSurvey::OutputCount; ++i) {
            const QString path = splitter.outputPath(i);
            if (QFile::exists(path))
                shown << path.section(QLatin1Char('.'), -1) + QLatin1Char(':')
                             + QString::fromLatin1(read(path).replace('\n', '$')).replace(now, QStringLiteral("<now>"));
        }
        return shown.join(QLatin1Char(' '));
    }
    // Paths of this test's directory that the process holds open.
    QStringList openFiles() const
    {
        QStringList open;
        const QDir fds(QStringLiteral("/proc/self/fd"));
        for (const QString& fd : fds.entryList(QDir::Files | QDir::System)) {
            const QString target = QFile::symLinkTarget(fds.filePath(fd));
            if (target.startsWith(dir->path()))
                open << target;
        }
        return open;
    }

private slots:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        splitFile = dir->filePath(QStringLiteral("node.spt"));
    }

    void routing_data()
    {
        QTest::addColumn<QByteArray>("records");
        QTest::addColumn<QString>("outputs");

        QTest::newRow("an SF record goes to the unsplit output, then to the trace output")
            << QByteArray("SF x\n") << "tdf:SF x$ spt:SF x$";
        QTest::newRow("coverage and trace records go to their tools' outputs, each in order")
            << QByteArray("CS 1\nNT 2\nCS 3\nEI 4\n") << "tio:NT 2$EI 4$ tdf:CS 1$CS 3$";
        QTest::newRow("a DT record with the value zero is stamped with the present date")
            << QByteArray("DT   0\n") << "tio:DT <now>$";
        QTest::newRow("a DT record with an empty pair of quotes is stamped with the present date")
            << QByteArray("DT \"\"\n") << "tio:DT <now>$";
        QTest::newRow("a DT record without a blank takes its third character as the value")
            << QByteArray("DT0\n") << "tio:DT <now>$";
        QTest::newRow("a DT record with a quoted date stays as it is")
            << QByteArray("DT \"2024-05-01 10:00\"\nDT 5\n") << "tio:DT \"2024-05-01 10:00\"$DT 5$";
        QTest::newRow("a t line up to td goes to the end-of-test output and the unsplit one")
            << QByteArray("t0 end\ntd x\nt\n") << "txt:t0 end$td x$t$ spt:t0 end$td x$t$";
        QTest::newRow("a t line whose second byte is above 127 counts as end of test too")
            << QByteArray("t\xe9\n") << QString::fromLatin1("txt:t\xe9$ spt:t\xe9$");
        QTest::newRow("carriage returns and NUL bytes are dropped from the records")
            << QByteArray("CS a\r\nCS b\nZZ\0c\nCS d\n", 21) << "tdf:CS a$CS b$CS d$ spt:ZZc$";
        QTest::newRow("a te line, an x line, an empty line and an unknown pair are unsplit")
            << QByteArray("te x\nx y\n\nZZ q\nC1 z\n") << "spt:te x$x y$$ZZ q$C1 z$";
    }
    void routing()
    {
        QFETCH(QByteArray, records);
        QASTSplitSurvey splitter(splitFile, {}, {}, {}, {});
        splitter.splitExistingLines();
        append(records);
        splitter.fileSurvey()->survey();
        QTEST(outputs(splitter), "outputs");
    }

    // Every pair of upper-case letters once: the tools' tables, and the three
    // outputs that no op code reaches.
    void everyOpcode()
    {
        QASTSplitSurvey splitter(splitFile, {}, {}, {}, {});
        QByteArray records;
        for (char first = 'A'; first <= 'Z'; ++first) {
            for (char second = 'A'; second <= 'Z'; ++second)
                records += QByteArray(1, first) + second + '\n';
        }
        append(records);
        splitter.splitExistingLines();
        auto codes = [&](int output) { return QString::fromLatin1(read(splitter.outputPath(output))).split('\n', Qt::SkipEmptyParts); };
        QCOMPARE(codes(QASTSplitSurvey::CoverageOutput).join(' '), "CO DC DT EI FT NT TA TB TE TP");
        QCOMPARE(codes(QASTSplitSurvey::TraceOutput).join(' '),
                 "AC BA CI CS DB DI EA ED GL HS ID IN LE LK LS MC ME MR MS NI NO OT SA SF SI SO ST SY TI TM TS TU TX US");
        QCOMPARE(codes(QASTSplitSurvey::UnsplitOutput).size(), 26 * 26 - 10 - 33);
        for (int output : {QASTSplitSurvey::RunTimeOutput, QASTSplitSurvey::MemoryOutput, QASTSplitSurvey::TimeOutput,
                           QASTSplitSurvey::EndOfTestOutput})
            QVERIFY2(!QFile::exists(splitter.outputPath(output)), qPrintable(splitter.outputPath(output)));
    }

    void backlog_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<bool>("absent");
        QTest::addColumn<QString>("outputs");

        QTest::newRow("an absent split file is followed from its first byte once it appears")
            << QByteArray() << true << "tdf:CS late$";
        QTest::newRow("each record already there is split once, and the survey goes on at its end")
            << QByteArray("CS old\nNT old\n") << false << "tio:NT old$ tdf:CS old$CS late$";
        QTest::newRow("a record longer than the backlog's buffer is split in pieces")
            << "CS " + QByteArray(1100, 'a') + '\n' << false
            << "tdf:CS " + QString(1020, 'a') + "CS late$ spt:" + QString(80, 'a') + '$';
    }
    void backlog()
    {
        QFETCH(QByteArray, before);
        if (!before.isEmpty())
            append(before);
        QASTSplitSurvey splitter(splitFile, {}, {}, {}, {});
        QTEST(splitter.splitExistingLines(), "absent");
        QVERIFY(splitter.fileSurvey()->isActive());
        append("CS late\n");
        splitter.fileSurvey()->survey();
        splitter.fileSurvey()->survey();
        QTEST(outputs(splitter), "outputs");
    }

    // Steps: "+text" appends, "=text" empties the split file and writes,
    // "-" deletes it, "p" polls; "x" replaces the trace output's directory by
    // a file (as root, permissions stop nothing), "o" makes it again.
    void lostRecords_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("outputs");

        QTest::newRow("a split file truncated below the position loses what was rewritten below it")
            << QStringList {"+CS a\nCS b\n", "p", "=CS c\n", "p", "+CS d\n", "p"} << "tdf:CS a$CS b$CS d$";
        QTest::newRow("a split file deleted and written again longer is read on at the old position")
            << QStringList {"+CS a\n", "p", "-", "p", "+CS b\nCS c\n", "p"} << "tdf:CS a$CS c$";
        QTest::newRow("a split file that a poll finds emptied is read again from its start")
            << QStringList {"+CS a\n", "p", "=", "p", "+CS b\nCS c\n", "p"} << "tdf:CS a$CS b$CS c$";
        QTest::newRow("an output that cannot be written loses its records, and takes the next once it can")
            << QStringList {"+CS a\n", "p", "x", "+CS b\nZZ b\n", "p", "o", "+CS c\n", "p"} << "tdf:CS c$ spt:ZZ b$";
    }
    void lostRecords()
    {
        QFETCH(QStringList, steps);
        const QString out = dir->filePath(QStringLiteral("out"));
        QVERIFY(QDir().mkpath(out));
        QASTSplitSurvey splitter(splitFile, {}, out + "/trace.tdf", {}, {});
        splitter.splitExistingLines();
        for (const QString& step : std::as_const(steps)) {
            const QByteArray text = step.mid(1).toLatin1();
            if (step.startsWith('='))
                QVERIFY(QFile::resize(splitFile, 0));
            if (step.startsWith('=') || step.startsWith('+'))
                append(text);
            else if (step == "-")
                QVERIFY(QFile::remove(splitFile));
            else if (step == "x")
                QVERIFY(QDir(out).removeRecursively() && QFile(out).open(QIODevice::WriteOnly));
            else if (step == "o")
                QVERIFY(QFile::remove(out) && QDir().mkpath(out));
            else
                splitter.fileSurvey()->survey();
        }
        QVERIFY(splitter.fileSurvey()->isActive());
        QTEST(outputs(splitter), "outputs");
    }

    // A writer appends records at a steady rate, some in two writes, while
    // the splitter follows the stream on its own timer; every record arrives
    // in order in its outputs, and no file is open between polls.
    void live()
    {
        const QString perl = QStandardPaths::findExecutable(QStringLiteral("perl"));
        QVERIFY(!perl.isEmpty());
        static const char* const opcodes[] = {"CS", "NT", "SF", "ZZ", "DT \"d\"", "t0"};
        QByteArray records, trace, coverage, unsplit;
        for (int i = 0, run = 0; i < 240; ++run) {
            const QByteArray opcode = opcodes[run % 6];
            for (int k = 0; k < run % 9 + 1 && i < 240; ++k, ++i) {
                const QByteArray record = opcode + ' ' + QByteArray::number(i) + '\n';
                records += record;
                if (opcode == "CS" || opcode == "SF")
                    trace += record;
                if (opcode == "NT" || opcode.startsWith("DT"))
                    coverage += record;
                if (opcode == "SF" || opcode == "ZZ" || opcode == "t0")
                    unsplit += record;
            }
        }
        const QString source = dir->filePath(QStringLiteral("records"));
        append(records, source);

        QASTSplitSurvey splitter(splitFile, {}, {}, {}, {});
        QStringList openAfterPolls;
        int polls = 0;
        connect(splitter.fileSurvey(), &QAFileSurvey::surveyDone, this, [&] {
            ++polls;
            openAfterPolls << openFiles();
        });
        splitter.splitExistingLines();
        QProcess writer;
        QSignalSpy finished(&writer, &QProcess::finished);
        writer.start(perl, {"-e", "open(I, $ARGV[0]) or die; open(O, '>>', $ARGV[1]) or die; select O; $| = 1;"
                                  "while (<I>) { if ($. % 10 == 0) { print O substr($_, 0, 2);"
                                  " select(undef, undef, undef, 0.004); $_ = substr($_, 2) } print O $_;"
                                  " select(undef, undef, undef, 0.004) }",
                            source, splitFile});
        QVERIFY(finished.wait(8000));
        QCOMPARE(writer.exitCode(), 0);
        const QString tdf = splitter.outputPath(QASTSplitSurvey::TraceOutput);
        QTRY_COMPARE_WITH_TIMEOUT(read(tdf).size(), trace.size(), 2000);
        QCOMPARE(read(tdf), trace);
        QCOMPARE(read(splitter.outputPath(QASTSplitSurvey::CoverageOutput)), coverage);
        QCOMPARE(read(splitter.outputPath(QASTSplitSurvey::UnsplitOutput)), unsplit);
        QVERIFY2(polls > 3, qPrintable(QString::number(polls)));
        QCOMPARE(openAfterPolls, QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_TraceSplit)
#include "tst_tracesplit.moc"
