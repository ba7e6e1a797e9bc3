// The metrics batch: one run of the tool chain's metrics script per file,
// its metrics files collected, its end signalled once however it ends.

#include "qastconfiguration.h"
#include "qastmetricmanager.h"
#include "qmetquery.h"
#include "qmettree.h"
#include "recordinghost.h"
#include "withoutmenus.h"

#include <QApplication>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class tst_MetricManager : public QObject
{
    Q_OBJECT

private:
    RecordingHost host;
    QTemporaryDir dir;
    QString previous;
    std::unique_ptr<WithoutMenus<QAStNode>> node;
    QString good;
    QString other;

    QString source(const QString& name, const QString& text)
    {
        QFile out(dir.filePath(name));
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return QString();
        out.write(text.toUtf8());
        return out.fileName();
    }

private slots:
    void initTestCase()
    {
        installProcessLeakGuard();
        QVERIFY(dir.isValid());
        QVERIFY(host.initializeLibrary());
        // The batch writes its environment and metrics files where it runs.
        previous = QDir::currentPath();
        QDir::setCurrent(dir.path());
        node = std::make_unique<WithoutMenus<QAStNode>>(QStringLiteral("unit"), QPixmap());
        good = source("good.c", "int f(int a)\n{\n  return a && a > 2 ? 1 : 0;\n}\n");
        other = source("other.c", "int g(void) { return 0; }\n");
    }
    void cleanupTestCase()
    {
        node.reset();
        QDir::setCurrent(previous);
        QAStData::initialize(nullptr);
    }

    void startsNothingWithoutWork_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<bool>("withNode");
        QTest::newRow("an empty list starts nothing") << QStringList() << true;
        QTest::newRow("no node starts nothing") << QStringList {"good.c"} << false;
    }
    void startsNothingWithoutWork()
    {
        QFETCH(QStringList, files);
        QFETCH(bool, withNode);
        QAStMetricManager manager(files, withNode ? node.get() : nullptr, false, false);
        QSignalSpy started(&manager, &QAStMetricManager::computeMetricStarted);
        QSignalSpy finished(&manager, &QAStMetricManager::computeMetricFinished);
        manager.start();
        QVERIFY(!manager.inProgress());
        QCoreApplication::processEvents();
        QCOMPARE(started.size(), 0);
        QCOMPARE(finished.size(), 0);
    }

    void collectsTheMetricsFileOfEachFile()
    {
        const QString missing = dir.filePath("missing.c");
        QAStMetricManager manager({good, missing, other}, node.get(), false, false);
        QSignalSpy finished(&manager, &QAStMetricManager::computeMetricFinished);
        manager.start();
        QVERIFY(manager.inProgress());
        // A list of files given while the batch runs is not taken.
        manager.setFileList({other});
        QVERIFY(finished.wait(9000));
        QCOMPARE(finished.size(), 1);
        QVERIFY(!manager.inProgress());
        // The file that failed leaves no entry, and the batch went on.
        QVERIFY(!manager.isSuccess());
        const QMap<QString, QStringList> results = manager.metricFilesMap();
        QCOMPARE(results.keys(), (QStringList {good, other}));
        QCOMPARE(results.value(good), (QStringList {dir.filePath("good.c.met")}));

        QMetTree tree(results.value(good) + results.value(other));
        tree.init();
        QMetQuery query(&tree);
        QCOMPARE(query.getVgValue("good.c", 1), QStringLiteral("3"));
        QCOMPARE(query.getVgSumValue("other.c"), QStringLiteral("1"));
        QCoreApplication::processEvents();
        QCOMPARE(finished.size(), 1);
    }

    void readsTheSourceWithTheNodesSettings()
    {
        // The branch counts only when both the configuration's macro and
        // the header found through its include directories turn it on.
        QVERIFY(QDir(dir.path()).mkpath("inc"));
        source("inc/level.h", "#define LEVEL 1\n");
        const QString branch = source("branch.c", "#include \"level.h\"\nint f(int a)\n{\n#if WIDE && LEVEL\n"
                                                  "  if (a) return 1;\n#endif\n  return a ? 2 : 3;\n}\n");
        WithoutMenus<QAStNode> configured(QStringLiteral("configured"), QPixmap());
        configured.addConfiguration(QStringLiteral("Debug"));
        configured.setCurrentConfiguration(QStringLiteral("Debug"));
        QAStConfiguration* settings = configured.currentConfiguration();
        QVERIFY(settings);
        settings->setProperty(QStringLiteral("cppFlags"), QStringLiteral("-D WIDE -O2"));
        settings->setProperty(QStringLiteral("cflags"), QStringLiteral("-std=gnu17 -g"));
        settings->setProperty(QStringLiteral("ge_incdir"), QStringList {dir.filePath("inc")});
        QAStMetricManager manager({branch}, &configured, false, false);
        QSignalSpy finished(&manager, &QAStMetricManager::computeMetricFinished);
        manager.start();
        QVERIFY(finished.wait(9000));
        QVERIFY(manager.isSuccess());
        QMetTree tree(manager.metricFilesMap().value(branch));
        tree.init();
        QCOMPARE(QMetQuery(&tree).getVgValue("branch.c", 2), QStringLiteral("3"));
    }

    void abortEndsTheBatchOnce()
    {
        QAStMetricManager manager({good, other}, node.get(), true, false);
        QSignalSpy finished(&manager, &QAStMetricManager::computeMetricFinished);
        manager.start();
        QProgressDialog* progress = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QProgressDialog*>(widget); dialog && dialog->isVisible())
                progress = dialog;
        }
        QVERIFY(progress);
        QCOMPARE(progress->labelText(), QStringLiteral("Compute Metric for File:%1").arg(good));
        auto* abort = progress->findChild<QPushButton*>();
        QVERIFY(abort);
        QCOMPARE(abort->text(), QStringLiteral("Abort"));
        abort->click();
        QCOMPARE(finished.size(), 1);
        QVERIFY(manager.isStopped());
        QVERIFY(!manager.inProgress());
        QVERIFY(!progress->isVisible());
        // The stopped script ends; nothing more comes of it.
        QTRY_VERIFY_WITH_TIMEOUT(!manager.runningProcess(), 9000);
        QCoreApplication::processEvents();
        QCOMPARE(finished.size(), 1);
        QVERIFY(manager.metricFilesMap().isEmpty());
        // A second stop finds no batch.
        manager.stop();
        QCOMPARE(finished.size(), 1);
    }

    void deletesItselfAfterTheEnd()
    {
        QPointer<QAStMetricManager> manager = new QAStMetricManager({other}, node.get(), false, true);
        bool aliveAtTheEnd = false;
        connect(manager.data(), &QAStMetricManager::computeMetricFinished, this,
                [&] { aliveAtTheEnd = !manager.isNull() && !manager->metricFilesMap().isEmpty(); });
        manager->start();
        QTRY_VERIFY_WITH_TIMEOUT(manager.isNull(), 9000);
        QVERIFY(aliveAtTheEnd);
    }
};

QTEST_MAIN(tst_MetricManager)
#include "tst_metricmanager.moc"
