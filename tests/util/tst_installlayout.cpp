#include "qafileutil.h"
#include "qainstall.h"
#include "qapixmapcenter.h"
#include "qastdata.h"
#include "qauserlibrary.h"
#include "recordinghost.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

static void touch(const QString& path, const QByteArray& bytes = QByteArray())
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

class tst_InstallLayout : public QObject
{
    Q_OBJECT
private slots:
    void installDirFollowsEnvironmentThenProgramPath_data()
    {
        QTest::addColumn<QString>("velmontdir");
        QTest::addColumn<QString>("zentahome");
        QTest::addColumn<QString>("expected");
        QTest::newRow("VELMONTDIR wins over ZENTAHOME") << "/opt/v" << "/opt/z" << "/opt/v";
        QTest::newRow("ZENTAHOME when VELMONTDIR is unset") << "" << "/opt/z" << "/opt/z";
        QTest::newRow("three levels above the program otherwise") << "" << "" << "<tree>";
    }
    void installDirFollowsEnvironmentThenProgramPath()
    {
        QFETCH(QString, velmontdir);
        QFETCH(QString, zentahome);
        QFETCH(QString, expected);
        QTemporaryDir tree;
        const QString binaries = tree.path() + QStringLiteral("/bin/linux/x86_64");
        const QString program = binaries + QStringLiteral("/host");
        QVERIFY(QAFileUtil::mkdir(binaries));
        touch(program);
        qputenv("VELMONTDIR", velmontdir.toLocal8Bit());
        qputenv("ZENTAHOME", zentahome.toLocal8Bit());
        expected.replace(QStringLiteral("<tree>"), tree.path());
        QCOMPARE(QAInstall::installDir(program), expected);
        QCOMPARE(QAInstall::binaryDir(program), binaries);
        QCOMPARE(QAInstall::binarySubDir(program), QStringLiteral("bin/linux/x86_64"));
        QCOMPARE(QAInstall::helpDir(program), expected + "/doc");
        QCOMPARE(QAInstall::targetDir(program), expected + "/targets");
        QCOMPARE(QAInstall::pluginsDir(program), expected + "/plugins");
        QCOMPARE(QAInstall::perlCommand(program).mid(1), QStringList({"-I", expected + "/lib/perl"}));
        qunsetenv("VELMONTDIR");
        qunsetenv("ZENTAHOME");
    }

    void generatedFileNames()
    {
        QStringList names;
        for (int i = 0; i < 11; ++i)
            names << QAFileUtil::generateTempFilename(QStringLiteral("t"));
        QCOMPARE(names.at(10), names.at(0)); // the counter wraps after ten
        QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), 10);
        QCOMPARE(QAFileUtil::generateFilename(QStringLiteral("a\\b/c+d*e?f~g|h,i:j\"k'l`m n.o")),
                 QStringLiteral("a_b_c_d_e_f_g_h_i_j_k_l_m_n.o"));
    }

    void localeVariantShortensToPlainFile_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("exact variant") << QStringList{"h_fr_FR.txt", "h.txt"} << "fr_FR" << "h_fr_FR.txt";
        QTest::newRow("cut at the underscore") << QStringList{"h_fr.txt"} << "fr_FR" << "h_fr.txt";
        QTest::newRow("cut at the at sign first") << QStringList{"h_de_DE.txt"} << "de_DE@euro" << "h_de_DE.txt";
        QTest::newRow("letter by letter to the plain file") << QStringList{"h.txt"} << "en" << "h.txt";
        QTest::newRow("nothing at all") << QStringList{} << "en" << "";
    }
    void localeVariantShortensToPlainFile()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, locale);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        for (const QString& name : present)
            touch(dir.filePath(name));
        QCOMPARE(QAFileUtil::fileExistsForLocale(dir.filePath("h.txt"), locale),
                 expected.isEmpty() ? QString() : dir.filePath(expected));
    }

    void wildcardListsOnlyExistingFilesSorted()
    {
        QTemporaryDir dir;
        for (const char* name : {"b.c", "a.c", "c.h"})
            touch(dir.filePath(QString::fromLatin1(name)));
        QVERIFY(QDir(dir.path()).mkdir("d.c") && QDir(dir.path()).mkdir("sub"));
        QCOMPARE(QAFileUtil::matchWildcard(dir.path() + "/sub/../*.c"),
                 QStringList({dir.filePath("a.c"), dir.filePath("b.c")}));
    }

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
        const QString example = install.filePath("targets/cgnu/xml/a/project.vmp");
        touch(example, "<project/>");
        QVERIFY(::chmod(QFile::encodeName(example).constData(), 0750) == 0);
        touch(install.filePath("targets/cppgnu/xml/b.txt"), "b");
        touch(install.filePath("targets/noexamples/port.ini"));
        qputenv("VELMONTDIR", install.path().toLocal8Bit());
        qputenv("HOME", home.path().toLocal8Bit());
        const QString examples = home.filePath(".Velmont/8.2.0.1/examples");
        touch(examples + "/cppgnu/xml/kept.txt", "mine");

        RecordingHost host;
        QAILogMonitor* log = host.console(QAStData::MessageConsole);
        QCOMPARE(QAUserLibrary::checkAndInstall(QString(), log), 1);
        QFile copy(examples + "/cgnu/xml/a/project.vmp");
        QVERIFY(copy.open(QIODevice::ReadOnly) && copy.readAll() == "<project/>");
        struct stat status;
        QVERIFY(::stat(QFile::encodeName(copy.fileName()).constData(), &status) == 0);
        QCOMPARE(int(status.st_mode & 07777), 0750); // the copy keeps the permission bits
        QVERIFY(!QFile::exists(examples + "/cppgnu/xml/b.txt") && !QFile::exists(examples + "/noexamples"));
        QCOMPARE(host.messages.size(), 1); // the one file copied
        QCOMPARE(log->errorCount(), 0);
        QCOMPARE(QAUserLibrary::checkAndInstall(QString(), log), 0);
        qunsetenv("VELMONTDIR");
    }
};

QTEST_MAIN(tst_InstallLayout)
#include "tst_installlayout.moc"
