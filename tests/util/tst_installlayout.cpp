#include "qafileutil.h"
#include "qainstall.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class tst_InstallLayout : public QObject
{
    Q_OBJECT
private slots:
    void installDirFollowsEnvironmentThenProgramPath_data();
    void installDirFollowsEnvironmentThenProgramPath();
    void derivedDirectoriesHangBelowInstallDir();
    void tempFilenameCounterWrapsAfterTen();
    void generateFilenameReplacesForbiddenCharacters();
    void localeVariantShortensToPlainFile_data();
    void localeVariantShortensToPlainFile();
    void wildcardListsOnlyExistingFilesSorted();
    void copyFileKeepsPermissionBits();

private:
    QTemporaryDir tree;
};

void tst_InstallLayout::installDirFollowsEnvironmentThenProgramPath_data()
{
    QTest::addColumn<QString>("velmontdir");
    QTest::addColumn<QString>("zentahome");
    QTest::addColumn<QString>("expected");
    QTest::newRow("VELMONTDIR wins over ZENTAHOME") << "/opt/v" << "/opt/z" << "/opt/v";
    QTest::newRow("ZENTAHOME when VELMONTDIR is unset") << "" << "/opt/z" << "/opt/z";
    QTest::newRow("three levels above the program otherwise") << "" << "" << "<tree>";
}

void tst_InstallLayout::installDirFollowsEnvironmentThenProgramPath()
{
    QFETCH(QString, velmontdir);
    QFETCH(QString, zentahome);
    QFETCH(QString, expected);
    const QString binaries = tree.path() + QStringLiteral("/bin/linux/x86_64");
    QVERIFY(QAFileUtil::mkdir(binaries));
    QFile program(binaries + QStringLiteral("/host"));
    QVERIFY(program.open(QIODevice::WriteOnly));
    program.close();

    qputenv("VELMONTDIR", velmontdir.toLocal8Bit());
    qputenv("ZENTAHOME", zentahome.toLocal8Bit());
    expected.replace(QStringLiteral("<tree>"), tree.path());
    QCOMPARE(QAInstall::installDir(program.fileName()), expected);
    QCOMPARE(QAInstall::binaryDir(program.fileName()), binaries);
    QCOMPARE(QAInstall::binarySubDir(program.fileName()), QStringLiteral("bin/linux/x86_64"));
    qunsetenv("VELMONTDIR");
    qunsetenv("ZENTAHOME");
}

void tst_InstallLayout::derivedDirectoriesHangBelowInstallDir()
{
    qputenv("VELMONTDIR", "/opt/velmont");
    QCOMPARE(QAInstall::helpDir(QString()), QStringLiteral("/opt/velmont/doc"));
    QCOMPARE(QAInstall::targetDir(QString()), QStringLiteral("/opt/velmont/targets"));
    QCOMPARE(QAInstall::pluginsDir(QString()), QStringLiteral("/opt/velmont/plugins"));
    QCOMPARE(QAInstall::perlCommand(QString()).mid(1),
             QStringList({"-I", "/opt/velmont/lib/perl"}));
    qunsetenv("VELMONTDIR");
}

void tst_InstallLayout::tempFilenameCounterWrapsAfterTen()
{
    QStringList names;
    for (int i = 0; i < 11; ++i)
        names << QAFileUtil::generateTempFilename(QStringLiteral("t"));
    QCOMPARE(names.at(10), names.at(0));
    QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), 10);
}

void tst_InstallLayout::generateFilenameReplacesForbiddenCharacters()
{
    QCOMPARE(QAFileUtil::generateFilename(QStringLiteral("a\\b/c+d*e?f~g|h,i:j\"k'l`m n.o")),
             QStringLiteral("a_b_c_d_e_f_g_h_i_j_k_l_m_n.o"));
}

void tst_InstallLayout::localeVariantShortensToPlainFile_data()
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

void tst_InstallLayout::localeVariantShortensToPlainFile()
{
    QFETCH(QStringList, present);
    QFETCH(QString, locale);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    for (const QString& name : present) {
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QString found = QAFileUtil::fileExistsForLocale(dir.filePath("h.txt"), locale);
    QCOMPARE(found, expected.isEmpty() ? QString() : dir.filePath(expected));
}

void tst_InstallLayout::wildcardListsOnlyExistingFilesSorted()
{
    QTemporaryDir dir;
    for (const char* name : {"b.c", "a.c", "c.h"}) {
        QFile file(dir.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QDir(dir.path()).mkdir("d.c"));
    QVERIFY(QDir(dir.path()).mkdir("sub"));
    QCOMPARE(QAFileUtil::matchWildcard(dir.path() + "/sub/../*.c"),
             QStringList({dir.filePath("a.c"), dir.filePath("b.c")}));
}

void tst_InstallLayout::copyFileKeepsPermissionBits()
{
    QTemporaryDir dir;
    QFile source(dir.filePath("tool.sh"));
    QVERIFY(source.open(QIODevice::WriteOnly));
    source.write("#!/bin/sh\necho hi\n");
    source.close();
    QVERIFY(::chmod(QFile::encodeName(source.fileName()).constData(), 0750) == 0);
    QVERIFY(QAFileUtil::copyFile(source.fileName(), dir.filePath("copy.sh")));
    struct stat status;
    QVERIFY(::stat(QFile::encodeName(dir.filePath("copy.sh")).constData(), &status) == 0);
    QCOMPARE(int(status.st_mode & 07777), 0750);
    QFile copy(dir.filePath("copy.sh"));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), QByteArray("#!/bin/sh\necho hi\n"));
    QVERIFY(!QAFileUtil::copyFile(dir.filePath("missing"), dir.filePath("x")));
}

QTEST_GUILESS_MAIN(tst_InstallLayout)
#include "tst_installlayout.moc"
