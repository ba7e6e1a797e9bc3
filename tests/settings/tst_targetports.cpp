#include "recordinghost.h"
#include "qares.h"
#include "qastdata.h"
#include "qastprojectpref.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qasttdpmanager.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QUrl>

#include <cstdio>
#include <unistd.h>

namespace {

void writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// What a scan writes to standard error, which must be nothing.
class StderrCapture
{
public:
    StderrCapture() : file(std::tmpfile()), saved(dup(2))
    {
        fflush(stderr);
        dup2(fileno(file), 2);
    }
    QByteArray finish()
    {
        fflush(stderr);
        dup2(saved, 2);
        ::close(saved);
        std::rewind(file);
        QByteArray text;
        char buffer[256];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
            text.append(buffer, qsizetype(n));
        std::fclose(file);
        return text;
    }

private:
    FILE* file;
    int saved;
};

// The fields of a port that a description set, in a short form.
QString describe(const QAStTargetPackage& port)
{
    QStringList parts;
    const QList<QPair<const char*, QString>> texts{
        {"name", port.name},       {"lang", port.language}, {"obj", port.objectExt}, {"lib", port.libExt},
        {"dll", port.dllExt},      {"exe", port.exeExt},    {"src", port.srcExt},    {"cpp", port.cppFlags},
        {"c", port.cFlags},        {"def", port.defines},   {"ld", port.ldFlags},    {"libs", port.libs}};
    for (const auto& [key, value] : texts)
        if (!value.isNull())
            parts << QString::fromLatin1(key) + QLatin1Char('=') + value;
    const QList<QPair<const char*, QStringList>> lists{
        {"inc", port.includePaths}, {"libpath", port.libraryPaths}, {"boot", port.bootClassPath}};
    for (const auto& [key, value] : lists)
        if (!value.isEmpty())
            parts << QString::fromLatin1(key) + QLatin1Char('=') + value.join(QLatin1Char('|'));
    if (port.j2meRestriction)
        parts << QStringLiteral("j2me");
    for (auto it = port.defaults.cbegin(); it != port.defaults.cend(); ++it)
        parts << QStringLiteral("default ") + it.key() + QLatin1Char('=') + it.value();
    return parts.join(QLatin1Char(';'));
}

QAStTargetPackage portFrom(const QByteArray& text)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tp.ini"));
    writeFile(path, text);
    QAStTargetPackage port;
    QARes* tree = QARes::read(QFile::encodeName(path).constData(), true);
    port.read(tree, QStringLiteral("p"), QStringLiteral("tp.ini"));
    delete tree;
    return port;
}

QStringList directoriesOf(const QAStTargetPackageList& list)
{
    QStringList names;
    for (const QAStTargetPackage* port : list)
        names << port->directory + QLatin1Char('/') + port->iniFile;
    return names;
}

} // namespace

class tst_TargetPorts : public QObject
{
    Q_OBJECT

public slots:
    void openHelp(const QUrl& url) { helpRequests << url.toString(); }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName(QStringLiteral("sdk-tests"));
        QCoreApplication::setApplicationName(QStringLiteral("tst_targetports"));
        qputenv("VELMONTDIR", QFile::encodeName(RecordingHost::stageDir()));
        QAStData::initialize(&host);
    }
    void init()
    {
        host.messages.clear();
        setPortDirectories({});
    }
    void cleanupTestCase() { QAStTargetPackageList::terminate(); }

    void brokenDescriptionCostsOnlyItsPort()
    {
        QTemporaryDir root;
        writeFile(root.filePath("good/tp.ini"), "NAME = \"good\"\nOBJEXT = \".o\" # objects\n");
        writeFile(root.filePath("semicolon/tp.ini"), "NAME = \"semicolon\"\nOBJEXT = \".o\"; \n");
        writeFile(root.filePath("noequal/tp.ini"), "NAME = \"noequal\"\nOBJEXT\n");
        writeFile(root.filePath("badbyte/tp.ini"), "NAME = \"badbyte\" @\n");
        writeFile(root.filePath("nodescription/readme.txt"), "NAME = \"x\"\n");
        // Beside the ports: "." is listed too, and kept so.
        writeFile(root.filePath("beside.ini"), "NAME = \"beside\"\n");

        StderrCapture capture;
        const QAStTargetPackageList list({root.path()});
        const QByteArray written = capture.finish();
        QCOMPARE(directoriesOf(list), QStringList({"./beside.ini", "badbyte/tp.ini", "good/tp.ini"}));
        QCOMPARE(list.targetPackage("good")->objectExt, QStringLiteral(".o"));
        QCOMPARE(list.targetPackage("good")->fullPath, QDir::toNativeSeparators(root.filePath("good")));
        QCOMPARE(list.targetPackage("badbyte")->name, QStringLiteral("badbyte"));
        QCOMPARE(written, QByteArray());
        QVERIFY(host.messages.isEmpty());

        StderrCapture after;
        QARes::error("f", 1, 1, QStringLiteral("m"));
        QCOMPARE(after.finish(), QByteArray("f:1:1:m\n")); // the quiet handler is gone
    }

    void fields_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("fields");
        QTest::newRow("every text key")
            << QByteArray("NAME = \"n\"\nLANGUAGE = \"C\"\nOBJEXT = \".o\"\nLIBEXT = \".a\"\nDLLEXT = \".so\"\n"
                          "EXEEXT = \".x\"\nSRCEXT = \".c\"\nDEFAULT_CPPFLAGS = \"-E\"\nDEFAULT_CFLAGS = \"-g\"\n"
                          "DEFAULT_DEFINES = \"D\"\nDEFAULT_LDFLAGS = \"-s\"\nDEFAULT_LIBS = \"-lm\"\n")
            << "name=n;lang=C;obj=.o;lib=.a;dll=.so;exe=.x;src=.c;cpp=-E;c=-g;def=D;ld=-s;libs=-lm";
        QTest::newRow("path lists drop empty pieces, the last line wins")
            << QByteArray("DEFAULT_INCLUDE_PATHS = \"a,,b,\"\nDEFAULT_INCLUDE_PATHS = \",c,,d\"\n"
                          "DEFAULT_LIBRARY_PATHS = \"l\"\nDEFAULT_BOOTCLASSPATH = \"x.jar,,y.jar\"\n")
            << "inc=c|d;libpath=l;boot=x.jar|y.jar";
        QTest::newRow("J2ME restriction only for the exact text true")
            << QByteArray("J2ME_RESTRICTION = \"true\"\n") << "j2me";
        QTest::newRow("J2ME restriction in capitals is false")
            << QByteArray("J2ME_RESTRICTION = \"TRUE\"\n") << "";
        QTest::newRow("any other DEFAULT_ word is a settings default")
            << QByteArray("DEFAULT_CFLAGS = \"-g\"\nDEFAULT_ZTC_LEVEL = \"3\"\n") << "c=-g;default ZTC_LEVEL=3";
        QTest::newRow("values of another kind are ignored")
            << QByteArray("NAME = 12\nOBJEXT = word\nDEFAULT_LIBS = (\"x\")\nDEFAULT_X = 1\nLANGUAGE = \"C\"\n")
            << "lang=C";
        QTest::newRow("keys are exact and upper case, others are ignored")
            << QByteArray("name = \"n\"\nNAMES = \"n\"\nCOMPILER = \"gcc\"\nSRCEXT = \"\xc3\xa9\"\n") << "src=\u00e9";
    }
    void fields()
    {
        QFETCH(QByteArray, text);
        const QAStTargetPackage port = portFrom(text);
        QCOMPARE(port.directory, QStringLiteral("p"));
        QTEST(describe(port), "fields");
    }

    void modeFlags_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<uint>("flags");
        QTest::newRow("no mode key keeps every analysis") << QByteArray("NAME = \"n\"\n") << 0xE1E00u;
        QTest::newRow("ZTCMODE 0 clears coverage and data coupling") << QByteArray("ZTCMODE = \"0\"\n") << 0x61C00u;
        QTest::newRow("ZTTMODE 0 clears tracing, control coupling, profiling") << QByteArray("ZTTMODE = \"0\"\n") << 0x81A00u;
        QTest::newRow("ZTPMODE 0 clears memory profiling") << QByteArray("ZTPMODE = \"0\"\n") << 0xE1600u;
        QTest::newRow("ZTQMODE 0 clears performance profiling") << QByteArray("ZTQMODE = \"0\"\n") << 0xE0E00u;
        QTest::newRow("all four at 0")
            << QByteArray("ZTCMODE = \"0\"\nZTTMODE = \"0\"\nZTPMODE = \"0\"\nZTQMODE = \"0\"\n") << 0u;
        QTest::newRow("1 changes nothing") << QByteArray("ZTCMODE = \"1\"\n") << 0xE1E00u;
        QTest::newRow("the integer 0 changes nothing") << QByteArray("ZTCMODE = 0\n") << 0xE1E00u;
        QTest::newRow("a later 1 does not set bits again") << QByteArray("ZTPMODE = \"0\"\nZTPMODE = \"1\"\n") << 0xE1600u;
    }
    void modeFlags()
    {
        QFETCH(QByteArray, text);
        QFETCH(uint, flags);
        QCOMPARE(uint(portFrom(text).flags), flags);
    }

    void portsOfOneDirectory()
    {
        QTemporaryDir root;
        writeFile(root.filePath("p/c.ini"), "NAME = \"p c\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n");
        writeFile(root.filePath("p/cpp.ini"), "NAME = \"p c++\"\nLANGUAGE = \"CPP\"\n");
        setPortDirectories({root.path()});
        QVERIFY(QAStTargetPackageList::initialize(&host));
        const QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
        QCOMPARE(installed->size(), 2);
        QCOMPARE(installed->targetPackage("p")->name, QStringLiteral("p c"));
        QCOMPARE(QAStTargetPackageList::searchAssociated("p", "CPP")->name, QStringLiteral("p c++"));
        QVERIFY(!QAStTargetPackageList::searchAssociated("p", "ADA"));
        QVERIFY(!installed->targetPackage("q"));

        // Read directly, the files of a directory make one port, key by key.
        QAStTargetPackage merged;
        QVERIFY(merged.read(root.filePath("p")));
        QCOMPARE(describe(merged), QStringLiteral("name=p c++;lang=CPP"));
        QCOMPARE(merged.iniFile, QStringLiteral("cpp.ini"));
        QCOMPARE(merged.flags, 0x61C00u);
        QVERIFY(!QAStTargetPackage().read(root.filePath("missing")));
    }

    void reportsOfTheScan()
    {
        QTemporaryDir root;
        writeFile(root.filePath("good/tp.ini"), "NAME = \"good\"\n");
        const QString missing = root.filePath("missing");
        setPortDirectories({missing, root.path()});
        QVERIFY(QAStTargetPackageList::initialize(&host));
        QCOMPARE(host.consoleText(QAStData::MessageConsole).trimmed(),
                 QStringLiteral("The Target Package %1 directory doesn't exist or it is not readable").arg(missing));
        QCOMPARE(QAStTargetPackageList::installTargetPackages()->size(), 1);

        host.messages.clear();
        // An empty directory still lists "." and "..": the parent must hold no port either.
        const QString empty = root.filePath("plain/empty");
        QVERIFY(QDir().mkpath(empty));
        setPortDirectories({empty});
        QVERIFY(!QAStTargetPackageList::initialize(&host));
        QVERIFY(QAStTargetPackageList::installTargetPackages()->isEmpty());
        QCOMPARE(host.consoleText(QAStData::MessageConsole).trimmed(),
                 QStringLiteral("Error when initializing Target Package List, see the reason above"));
    }

    void searchFindsTheDirectoryOfAName()
    {
        QTemporaryDir first, second;
        writeFile(second.filePath("gcc/tp.ini"), "NAME = \"gcc\"\n");
        setPortDirectories({first.filePath("missing"), first.path(), second.path()});
        QCOMPARE(QAStTargetPackageList::search("gcc"), second.path());
        QCOMPARE(QAStTargetPackageList::search("other"), RecordingHost::stageDir() + QStringLiteral("/targets"));
    }

    void shippedPortsLoad()
    {
        QVERIFY(QAStTargetPackageList::initialize(&host)); // no preference: the installation's directory
        QVERIFY(host.messages.isEmpty());
        const QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
        QCOMPARE(directoriesOf(*installed), QStringList({"gnu_c_native/tp.ini", "gnu_cpp_native/tp.ini"}));
        const QAStTargetPackage* c = QAStTargetPackageList::searchAssociated("gnu_c_native", "C");
        const QAStTargetPackage* cpp = QAStTargetPackageList::searchAssociated("gnu_cpp_native", "CPP");
        QVERIFY(c && cpp);
        QCOMPARE(c->srcExt, QStringLiteral("c"));
        QCOMPARE(cpp->srcExt, QStringLiteral("cpp"));
        for (const QAStTargetPackage* port : {c, cpp}) {
            QCOMPARE(port->objectExt, QStringLiteral("o"));
            QCOMPARE(port->libExt, QStringLiteral("a"));
            QCOMPARE(port->dllExt, QStringLiteral("so"));
            QVERIFY(port->exeExt.isEmpty());
            QVERIFY(port->includePaths.contains(QStringLiteral("/usr/include")));
            QCOMPARE(port->flags, 0xE1E00u);
            QVERIFY(port->defaults.isEmpty());
            QVERIFY(QFileInfo(port->fullPath).isDir());
        }
        QVERIFY(cpp->includePaths.first().startsWith(QStringLiteral("/usr/include/c++/")));
    }

    void dialog()
    {
        QSettings().remove(QStringLiteral("/QATDPDialog"));
        QVERIFY(QAStTargetPackageList::initialize(&host));
        QDesktopServices::setUrlHandler(QStringLiteral("help"), this, "openHelp");
        QASTTDPManager manager;
        manager.show();
        QVERIFY(QTest::qWaitForWindowExposed(&manager));
        QCOMPARE(manager.portList()->count(), 2);
        QVERIFY(!manager.isDetailsOpen());
        QCOMPARE(manager.detailsView()->toPlainText(),
                 QStringLiteral("Select a Target Deplyment Port first to show the details"));

        manager.portList()->setCurrentRow(1);
        const QStringList lines = manager.detailsView()->toPlainText().trimmed().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 20);
        QCOMPARE(lines.first(), QStringLiteral("Name : GNU C++ native (x86_64 Linux)"));
        QCOMPARE(lines.at(1), QStringLiteral("Path : gnu_cpp_native"));
        QCOMPARE(lines.last(), QStringLiteral("Runtime Analysis mode : 0xe1e00"));
        QVERIFY(manager.detailsView()->toHtml().contains(QStringLiteral("font-weight")));

        const auto button = [&](const QString& text) {
            for (QPushButton* candidate : manager.findChildren<QPushButton*>())
                if (candidate->text() == text)
                    return candidate;
            return static_cast<QPushButton*>(nullptr);
        };
        QTest::mouseClick(button("&Details"), Qt::LeftButton);
        QVERIFY(manager.isDetailsOpen());
        QCOMPARE(QSettings().value("/QATDPDialog/details_open").toBool(), true);
        manager.grab().save(QStringLiteral("tdpmanager.png"));
        {
            QASTTDPManager reopened;
            QVERIFY(reopened.isDetailsOpen());
        }

        QTemporaryDir extra;
        writeFile(extra.filePath("third/tp.ini"), "NAME = \"third\"\n");
        setPortDirectories({RecordingHost::stageDir() + QStringLiteral("/targets"), extra.path()});
        QTest::mouseClick(button("&Reload"), Qt::LeftButton);
        QCOMPARE(manager.portList()->count(), 3);
        QCOMPARE(manager.portList()->item(2)->text(), QStringLiteral("third"));

        QTest::mouseClick(button("&Help"), Qt::LeftButton);
        QCOMPARE(helpRequests, QStringList("help://#tdp-dialog"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("help"));
        QTest::mouseClick(button("&Close"), Qt::LeftButton);
        QVERIFY(!manager.isVisible());
    }

private:
    void setPortDirectories(const QStringList& directories)
    {
        QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), directories);
    }

    RecordingHost host;
    QStringList helpRequests;
};

QTEST_MAIN(tst_TargetPorts)
#include "tst_targetports.moc"
