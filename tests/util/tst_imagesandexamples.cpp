#include "qapixmapcenter.h"
#include "qastdata.h"
#include "qauserlibrary.h"
#include "recordinghost.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

static void touch(const QString& path, const QByteArray& bytes = QByteArray())
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

class tst_ImagesAndExamples : public QObject
{
    Q_OBJECT
private slots:
    void pixmapsAreFoundInOrderAndRemembered()
    {
        QTemporaryDir first, second;
        QVERIFY(QImage(4, 4, QImage::Format_RGB32).save(second.filePath("make.png")));
        touch(first.filePath("clean.png"));
        touch(second.filePath("clean.png"));
        QAPixmapCenter::clear();
        for (const QString& directory : {first.path(), second.path(), first.filePath("missing")})
            QAPixmapCenter::insertDirectory(directory);
        QCOMPARE(QAPixmapCenter::getPathByFileName("clean.png"), first.filePath("clean.png"));
        QCOMPARE(QAPixmapCenter::getPathByFileName("make.png"), second.filePath("make.png"));
        QVERIFY(QAPixmapCenter::getPathByFileName("none.png").isEmpty());
        QCOMPARE(QAPixmapCenter::getPixmapByFilePath("make.png").size(), QSize(4, 4));
        // A hit is remembered even when the file goes away.
        QFile::remove(second.filePath("make.png"));
        QCOMPARE(QAPixmapCenter::getPathByFileName("make.png"), second.filePath("make.png"));
        QAPixmapCenter::clear();
    }

    void examplesAreCopiedOnlyWhenMissing()
    {
        QTemporaryDir install, home;
        touch(install.filePath("targets/cgnu/xml/a/project.vmp"), "<project/>");
        touch(install.filePath("targets/cppgnu/xml/b.txt"), "b");
        touch(install.filePath("targets/noexamples/port.ini"));
        qputenv("VELMONTDIR", install.path().toLocal8Bit());
        qputenv("HOME", home.path().toLocal8Bit());
        const QString examples = home.filePath(".Velmont/8.2.0.1/examples");
        touch(examples + "/cppgnu/xml/kept.txt", "mine");

        RecordingHost host;
        QAILogMonitor* log = host.console(QAStData::MessageConsole);
        QCOMPARE(QAUserLibrary::checkAndInstall(QString(), log), 1);
        QVERIFY(QFile::exists(examples + "/cgnu/xml/a/project.vmp"));
        QVERIFY(!QFile::exists(examples + "/cppgnu/xml/b.txt") && !QFile::exists(examples + "/noexamples"));
        QCOMPARE(host.messages.size(), 1); // the one file copied
        QCOMPARE(log->errorCount(), 0);
        QCOMPARE(QAUserLibrary::checkAndInstall(QString(), log), 0);
        qunsetenv("VELMONTDIR");
    }
};

QTEST_MAIN(tst_ImagesAndExamples)
#include "tst_imagesandexamples.moc"
