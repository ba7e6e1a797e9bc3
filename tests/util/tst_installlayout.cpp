#include "qafileutil.h"
#include "qainstall.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

static void touch(const QString& path, const QByteArray& bytes = QByteArray())
{
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

    void copyFileKeepsPermissionBits()
    {
        QTemporaryDir dir;
        const QByteArray script = "#!/bin/sh\necho hi\n";
        touch(dir.filePath("tool.sh"), script);
        QVERIFY(::chmod(QFile::encodeName(dir.filePath("tool.sh")).constData(), 0750) == 0);
        QVERIFY(QAFileUtil::copyFile(dir.filePath("tool.sh"), dir.filePath("copy.sh")));
        struct stat status;
        QVERIFY(::stat(QFile::encodeName(dir.filePath("copy.sh")).constData(), &status) == 0);
        QCOMPARE(int(status.st_mode & 07777), 0750);
        QFile copy(dir.filePath("copy.sh"));
        QVERIFY(copy.open(QIODevice::ReadOnly) && copy.readAll() == script);
        QVERIFY(!QAFileUtil::copyFile(dir.filePath("missing"), dir.filePath("x")));
    }
};

QTEST_GUILESS_MAIN(tst_InstallLayout)
#include "tst_installlayout.moc"
