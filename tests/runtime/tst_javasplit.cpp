#include "qafilesurvey.h"
#include "qastsplitjavapsurvey.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_JavaSplit : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> dir;
    QString stream;

    static QString read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).replace('\n', '$') : QString();
    }
    void write(const QByteArray& bytes, QIODevice::OpenMode mode = QIODevice::Append)
    {
        QFile file(stream);
        QVERIFY(file.open(mode));
        QCOMPARE(file.write(bytes), bytes.size());
    }

private slots:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        stream = dir->filePath(QStringLiteral("java.spt"));
    }

    void outputs_data()
    {
        QTest::addColumn<QByteArray>("records");
        QTest::addColumn<bool>("sourceExists");
        QTest::addColumn<bool>("link");
        QTest::addColumn<QString>("trace");
        QTest::addColumn<QString>("memory");

        QTest::newRow("a block opened by DB keeps its line and gets no added one")
            << QByteArray("DB \"b\"\nMS 1\nSO \"x\"\nSO \"y\"\nED\n") << false << false
            << "DB \"b\"$MS 1$SO \"\" 0 \"txt\"$SO \"y\"$ED$" << "";
        QTest::newRow("a block whose first record is SO gets a DB line before it")
            << QByteArray("SO \"x\"\nID 1\nED\n") << false << false
            << "DB \"Klassor-Tracer\"$SO \"\" 0 \"txt\"$ID 1$ED$" << "";
        QTest::newRow("a class found in a source directory names its file, and its links are marked")
            << QByteArray("DB\nIN \"File\" \"C.java\"\nIN \"Class\" \"p.q.C\"\nSO \"x\"\nLK 7\nED\n") << true << true
            << "DB$IN \"File\" \"C.java\"$IN \"Class\" \"p.q.C\"$SO \"<src>/p/q//C.java\" 0 \"txt\"$LK 1$ED$" << "";
        QTest::newRow("a found class keeps its links as they are without the link flag")
            << QByteArray("DB\nIN \"File\" \"C.java\"\nIN \"Class\" \"p.q.C\"\nLK 7\nED\n") << true << false
            << "DB$IN \"File\" \"C.java\"$IN \"Class\" \"p.q.C\"$LK 7$ED$" << "";
        QTest::newRow("a class that no source directory holds gives unlinked links")
            << QByteArray("DB\nLK 5\nIN \"File\" \"C.java\"\nIN \"Class\" \"p.q.C\"\nSO \"x\"\nLK 7\nED\n") << false
            << true << "DB$LK 5$IN \"File\" \"C.java\"$IN \"Class\" \"p.q.C\"$SO \"p/q//C.java\" 0 \"txt\"$LK 0$ED$"
            << "";
        QTest::newRow("a class named by a path keeps its directory in front of the file")
            << QByteArray("DB\nIN \"File\" \"C.java\"\nIN \"Class\" \"p/q/C\"\nSO \"x\"\nED\n") << false << false
            << "DB$IN \"File\" \"C.java\"$IN \"Class\" \"p/q/C\"$SO \"p/q//C.java\" 0 \"txt\"$ED$" << "";
        QTest::newRow("no record of a block reaches the trace before its ED")
            << QByteArray("DB\nSO \"x\"\nMS 1\n") << false << false << "" << "";
        QTest::newRow("memory records are written, XX and YY not, and the rest is dropped")
            << QByteArray("PC 1\nPD 2\nXX\nYY\nPV 3\nQQ 1\nab\nP1\n") << false << false << "" << "PC 1$PD 2$PV 3$";
    }
    void outputs()
    {
        QFETCH(QByteArray, records);
        QFETCH(bool, sourceExists);
        QFETCH(bool, link);
        const QString sources = dir->filePath(QStringLiteral("src"));
        if (sourceExists) {
            QVERIFY(QDir().mkpath(sources + "/p/q"));
            QFile source(sources + "/p/q/C.java");
            QVERIFY(source.open(QIODevice::WriteOnly));
        }
        QStringList directories {dir->filePath(QStringLiteral("none")), sources};
        write(records);
        QASTSplitJavaPSurvey splitter(&directories, stream, {}, {}, false, link, false);
        QCOMPARE(splitter.splitExistingLines(), false);
        QFETCH(QString, trace);
        QCOMPARE(read(splitter.traceOutput()), trace.replace("<src>", sources));
        QTEST(read(splitter.memoryOutput()), "memory");
    }

    // Records, and "tick" for a tick of the splitter's timer; the events
    // are the signals in the order they came.
    void snapshots_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("events");

        QTest::newRow("a finished block is announced at the next tick")
            << QStringList {"PC 1", "PD 2", "XX", "tick", "tick"} << "tick snapshot tick";
        QTest::newRow("a pause with a block open is announced once")
            << QStringList {"PC 1", "tick", "tick", "tick"} << "tick tick snapshot tick";
        QTest::newRow("a block that goes on being written is not announced")
            << QStringList {"PC 1", "tick", "PD 2", "tick", "PD 3", "tick"} << "tick tick tick";
        QTest::newRow("an XX without an open block announces nothing")
            << QStringList {"XX", "tick", "tick"} << "tick tick";
        QTest::newRow("a YY ends the run with a snapshot, then the end")
            << QStringList {"PD 1", "YY", "tick", "tick"} << "tick snapshot end tick";
    }
    void snapshots()
    {
        QFETCH(QStringList, steps);
        QASTSplitJavaPSurvey splitter(nullptr, stream, {}, {}, false, false, false);
        QStringList events;
        connect(&splitter, &QASTSplitJavaPSurvey::JAVA_Split_off_with_Snapshot, this, [&] { events << "snapshot"; });
        connect(&splitter, &QASTSplitJavaPSurvey::JAVA_Split_end, this, [&] { events << "end"; });
        for (const QString& step : std::as_const(steps)) {
            if (step == "tick") {
                events << "tick";
                splitter.tickReceived();
            } else {
                splitter.splitOneLine(qPrintable(step + '\n'));
            }
        }
        QTEST(events.join(' '), "events");
    }

    // Each poll reads what the stream held when it began, so one that feeds
    // itself ends.
    void streamIsItsOwnOutput()
    {
        write("PC 1\n");
        QASTSplitJavaPSurvey splitter(nullptr, stream, stream, {}, false, false, true);
        splitter.fileSurvey()->survey();
        splitter.fileSurvey()->survey();
        QCOMPARE(read(stream), "PC 1$PC 1$PC 1$");
    }

    void restartedStream_data()
    {
        QTest::addColumn<bool>("deleted");
        QTest::newRow("a truncated stream is read again from its first byte") << false;
        QTest::newRow("a deleted stream is read from its first byte once it is back") << true;
    }
    void restartedStream()
    {
        QFETCH(bool, deleted);
        write("PD old\n");
        QASTSplitJavaPSurvey splitter(nullptr, stream, {}, {}, true, false, true);
        QVERIFY(splitter.fileSurvey()->isActive());
        write("PC 1\nPD 2\n");
        splitter.fileSurvey()->survey();
        if (deleted) {
            QVERIFY(QFile::remove(stream));
            splitter.fileSurvey()->survey();
        }
        write("PV 9\n", QIODevice::WriteOnly | QIODevice::Truncate);
        splitter.fileSurvey()->survey();
        splitter.fileSurvey()->survey();
        QCOMPARE(read(splitter.memoryOutput()), "PC 1$PD 2$PV 9$");
        QVERIFY(splitter.fileSurvey()->isActive());
    }
};

QTEST_GUILESS_MAIN(tst_JavaSplit)
#include "tst_javasplit.moc"
