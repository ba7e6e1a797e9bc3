#include "qailogmonitor.h"
#include "qapixmapcenter.h"
#include "qauserlibrary.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

namespace {

class CountingLog : public QAILogMonitor
{
public:
    void log(const QString& text) override { lines << text; }
    void error(const QString& text) override { errors << text; }
    int errorCount() const override { return int(errors.size()); }
    void resetError() override { errors.clear(); }
    QStringList lines;
    QStringList errors;
};

void touch(const QString& path, const QByteArray& bytes = QByteArray())
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class tst_ImagesAndExamples : public QObject
{
    Q_OBJECT
private slots:
    void pixmapsAreFoundInOrderAndRemembered();
    void examplesAreCopiedOnlyWhenMissing();
};

void tst_ImagesAndExamples::pixmapsAreFoundInOrderAndRemembered()
{
    QTemporaryDir first;
    QTemporaryDir second;
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(second.filePath("make.png")));
    touch(first.filePath("clean.png"));
    touch(second.filePath("clean.png"));
    QAPixmapCenter::clear();
    QAPixmapCenter::insertDirectory(first.path());
    QAPixmapCenter::insertDirectory(second.path());
    QAPixmapCenter::insertDirectory(first.filePath("missing"));

    QCOMPARE(QAPixmapCenter::getPathByFileName("clean.png"), first.filePath("clean.png"));
    QCOMPARE(QAPixmapCenter::getPathByFileName("make.png"), second.filePath("make.png"));
    QVERIFY(QAPixmapCenter::getPathByFileName("none.png").isEmpty());
    QCOMPARE(QAPixmapCenter::getPixmapByFilePath("make.png").size(), QSize(4, 4));
    // A hit is remembered even when the file goes away.
    QFile::remove(second.filePath("make.png"));
    QCOMPARE(QAPixmapCenter::getPathByFileName("make.png"), second.filePath("make.png"));
    QAPixmapCenter::clear();
}

void tst_ImagesAndExamples::examplesAreCopiedOnlyWhenMissing()
{
    QTemporaryDir install;
    QTemporaryDir home;
    touch(install.filePath("targets/cgnu/xml/a/project.vmp"), "<project/>");
    touch(install.filePath("targets/cppgnu/xml/b.txt"), "b");
    touch(install.filePath("targets/noexamples/port.ini"));
    qputenv("VELMONTDIR", install.path().toLocal8Bit());
    qputenv("HOME", home.path().toLocal8Bit());
    const QString examples = home.filePath(".Velmont/8.2.0.1/examples");
    touch(examples + "/cppgnu/xml/kept.txt", "mine");

    CountingLog log;
    QCOMPARE(QAUserLibrary::checkAndInstall(QString(), &log), 1);
    QFile copied(examples + "/cgnu/xml/a/project.vmp");
    QVERIFY(copied.open(QIODevice::ReadOnly));
    QCOMPARE(copied.readAll(), QByteArray("<project/>"));
    QVERIFY(!QFile::exists(examples + "/cppgnu/xml/b.txt"));
    QVERIFY(!QFile::exists(examples + "/noexamples"));
    QCOMPARE(log.lines.size(), 1);
    QCOMPARE(log.errorCount(), 0);
    QCOMPARE(QAUserLibrary::checkAndInstall(QString(), &log), 0);
    qunsetenv("VELMONTDIR");
}

QTEST_MAIN(tst_ImagesAndExamples)
#include "tst_imagesandexamples.moc"
