#include "qares.h"
#include "qastdata.h"
#include "qastprojectpref.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qasttdpmanager.h"
#include "recordinghost.h"
#include "settingsfixture.h"

#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextEdit>

namespace {

// The fields of a port that a description set, in a short form.
QString describe(const QAStTargetPackage& port)
{
    QStringList parts;
    const QList<QPair<const char*, QString>> texts{
        {"name", port.name}, {"lang", port.language}, {"obj", port.objectExt}, {"lib", port.libExt},
        {"dll", port.dllExt}, {"exe", port.exeExt}, {"src", port.srcExt}, {"cpp", port.cppFlags},
        {"c", port.cFlags}, {"def", port.defines}, {"ld", port.ldFlags}, {"libs", port.libs}};
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
    if (port.flags != 0xE1E00u)
        parts << QStringLiteral("flags=%1").arg(port.flags, 0, 16);
    return parts.join(QLatin1Char(';'));
}

QStringList directoriesOf(const QAStTargetPackageList& list)
{
    QStringList names;
    for (const QAStTargetPackage* port : list)
        names << port->directory + QLatin1Char('/') + port->iniFile;
    return names;
}

void setPortDirectories(const QStringList& directories)
{
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), directories);
}

} // namespace

class tst_TargetPorts : public QObject
{
    Q_OBJECT

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
        // Each erroneous description of the resource text tests is a port of its own here.
        const QDir erroneous(QFINDTESTDATA("testdata/erroneous"));
        const QStringList broken = erroneous.entryList({"*.ini"});
        QVERIFY(!broken.isEmpty());
        for (const QString& name : broken) {
            QFile description(erroneous.filePath(name));
            QVERIFY(description.open(QIODevice::ReadOnly));
            QVERIFY(writeFile(root.filePath(name + "/tp.ini"), description.readAll()));
        }
        QVERIFY(writeFile(root.filePath("good/tp.ini"), "NAME = \"good\"\nOBJEXT = \".o\" # objects\n"));
        QVERIFY(writeFile(root.filePath("badbyte/tp.ini"), "NAME = \"badbyte\" @\n"));
        QVERIFY(writeFile(root.filePath("nodescription/readme.txt"), "NAME = \"x\"\n"));
        // Beside the ports: "." is listed too, and kept so.
        QVERIFY(writeFile(root.filePath("beside.ini"), "NAME = \"beside\"\n"));

        std::unique_ptr<QAStTargetPackageList> scanned;
        QCOMPARE(standardErrorOf([&] { scanned = std::make_unique<QAStTargetPackageList>(QStringList {root.path()}); }),
                 QByteArray());
        const QAStTargetPackageList& list = *scanned;
        QCOMPARE(directoriesOf(list), QStringList({"./beside.ini", "badbyte/tp.ini", "good/tp.ini"}));
        QCOMPARE(list.targetPackage("good")->objectExt, QStringLiteral(".o"));
        QCOMPARE(list.targetPackage("good")->fullPath, QDir::toNativeSeparators(root.filePath("good")));
        QCOMPARE(list.targetPackage("badbyte")->name, QStringLiteral("badbyte"));
        QVERIFY(host.messages.isEmpty());

        // The quiet handler is gone.
        QCOMPARE(standardErrorOf([] { QARes::error("f", 1, 1, QStringLiteral("m")); }), QByteArray("f:1:1:m\n"));
    }

    void fields_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("fields");
        const auto row = [](const char* tag, const QByteArray& text, const char* fields) {
            QTest::newRow(tag) << text << QString::fromUtf8(fields);
        };
        row("every text key",
            "NAME = \"n\"\nLANGUAGE = \"C\"\nOBJEXT = \".o\"\nLIBEXT = \".a\"\nDLLEXT = \".so\"\nEXEEXT = \".x\"\n"
            "SRCEXT = \".c\"\nDEFAULT_CPPFLAGS = \"-E\"\nDEFAULT_CFLAGS = \"-g\"\nDEFAULT_DEFINES = \"D\"\n"
            "DEFAULT_LDFLAGS = \"-s\"\nDEFAULT_LIBS = \"-lm\"\n",
            "name=n;lang=C;obj=.o;lib=.a;dll=.so;exe=.x;src=.c;cpp=-E;c=-g;def=D;ld=-s;libs=-lm");
        row("path lists drop empty pieces, the last line wins",
            "DEFAULT_INCLUDE_PATHS = \"a,,b,\"\nDEFAULT_INCLUDE_PATHS = \",c,,d\"\nDEFAULT_LIBRARY_PATHS = \"l\"\n"
            "DEFAULT_BOOTCLASSPATH = \"x.jar,,y.jar\"\n",
            "inc=c|d;libpath=l;boot=x.jar|y.jar");
        row("J2ME restriction only for the exact text true", "J2ME_RESTRICTION = \"true\"\n", "j2me");
        row("J2ME restriction in capitals is false", "J2ME_RESTRICTION = \"TRUE\"\n", "");
        row("any other DEFAULT_ word is a settings default", "DEFAULT_CFLAGS = \"-g\"\nDEFAULT_ZTC_LEVEL = \"3\"\n",
            "c=-g;default ZTC_LEVEL=3");
        row("values of another kind are ignored",
            "NAME = 12\nOBJEXT = word\nDEFAULT_LIBS = (\"x\")\nDEFAULT_X = 1\nLANGUAGE = \"C\"\nZTCMODE = 0\n", "lang=C");
        row("keys are exact and upper case, others are ignored",
            "name = \"n\"\nNAMES = \"n\"\nCOMPILER = \"gcc\"\nSRCEXT = \"\xc3\xa9\"\n", "src=\u00e9");
        row("ZTCMODE 0 clears coverage and data coupling", "ZTCMODE = \"0\"\n", "flags=61c00");
        row("ZTTMODE 0 clears tracing, control coupling, profiling", "ZTTMODE = \"0\"\n", "flags=81a00");
        row("ZTPMODE 0 clears memory profiling", "ZTPMODE = \"0\"\n", "flags=e1600");
        row("ZTQMODE 0 clears performance profiling", "ZTQMODE = \"0\"\n", "flags=e0e00");
        row("a mode of 1 changes nothing", "ZTCMODE = \"1\"\n", "");
        row("a later mode of 1 does not set bits again", "ZTPMODE = \"0\"\nZTPMODE = \"1\"\n", "flags=e1600");
    }
    void fields()
    {
        QFETCH(QByteArray, text);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("tp.ini"), text));
        std::unique_ptr<QARes> tree(QARes::read(QFile::encodeName(dir.filePath("tp.ini")).constData(), true));
        QAStTargetPackage port;
        port.read(tree.get(), QStringLiteral("p"), QStringLiteral("tp.ini"));
        QCOMPARE(port.directory, QStringLiteral("p"));
        QTEST(describe(port), "fields");
    }

    void portsOfOneDirectory()
    {
        QTemporaryDir root;
        QVERIFY(writeFile(root.filePath("p/c.ini"), "NAME = \"p c\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n"));
        QVERIFY(writeFile(root.filePath("p/cpp.ini"), "NAME = \"p c++\"\nLANGUAGE = \"CPP\"\n"));
        // A directory that is missing is reported, and the scan goes on.
        const QString missing = root.filePath("missing");
        setPortDirectories({missing, root.path()});
        QVERIFY(QAStTargetPackageList::initialize(&host));
        QCOMPARE(host.consoleText(QAStData::MessageConsole).trimmed(),
                 QStringLiteral("The Target Package %1 directory doesn't exist or it is not readable").arg(missing));
        const QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
        QCOMPARE(installed->size(), 2);
        QCOMPARE(installed->targetPackage("p")->name, QStringLiteral("p c"));
        QCOMPARE(QAStTargetPackageList::searchAssociated("p", "CPP")->name, QStringLiteral("p c++"));
        QVERIFY(!QAStTargetPackageList::searchAssociated("p", "ADA"));
        QVERIFY(!installed->targetPackage("q"));

        // Read directly, the files of a directory make one port, key by key.
        QAStTargetPackage merged;
        QVERIFY(merged.read(root.filePath("p")));
        QCOMPARE(describe(merged), QStringLiteral("name=p c++;lang=CPP;flags=61c00"));
        QCOMPARE(merged.iniFile, QStringLiteral("cpp.ini"));
        QVERIFY(!QAStTargetPackage().read(root.filePath("missing")));
    }

    void searchFindsTheDirectoryOfAName()
    {
        QTemporaryDir first, second;
        QVERIFY(writeFile(second.filePath("gcc/tp.ini"), "NAME = \"gcc\"\n"));
        setPortDirectories({first.filePath("missing"), first.path(), second.path()});
        QCOMPARE(QAStTargetPackageList::search("gcc"), second.path());
        QCOMPARE(QAStTargetPackageList::search("other"), RecordingHost::stageDir() + QStringLiteral("/targets"));
    }

    // The dialog opens with no port selected, shows the one the user picks,
    // remembers whether its details are open, and reloads the list.
    void dialogOfTheShippedPorts()
    {
        QSettings().remove(QStringLiteral("/QATDPDialog"));
        QVERIFY(QAStTargetPackageList::initialize(&host)); // no preference: the installation's directory
        QASTTDPManager manager;
        manager.show();
        QVERIFY(QTest::qWaitForWindowExposed(&manager));
        QCOMPARE(manager.portList()->count(), 2);
        QCOMPARE(manager.portList()->currentRow(), -1);
        manager.portList()->setCurrentRow(1);
        QVERIFY(manager.detailsView()->toPlainText().startsWith(QStringLiteral("Name : GNU C++ native (x86_64 Linux)\n")));

        QVERIFY(!manager.isDetailsOpen());
        const auto click = [&](const QString& text) {
            for (QPushButton* button : manager.findChildren<QPushButton*>())
                if (button->text() == text)
                    QTest::mouseClick(button, Qt::LeftButton);
        };
        click("&Details");
        QVERIFY(manager.isDetailsOpen() && QASTTDPManager().isDetailsOpen());

        QTemporaryDir extra;
        QVERIFY(writeFile(extra.filePath("third/tp.ini"), "NAME = \"third\"\n"));
        setPortDirectories({RecordingHost::stageDir() + QStringLiteral("/targets"), extra.path()});
        click("&Reload");
        QCOMPARE(manager.portList()->count(), 3);
        QCOMPARE(manager.portList()->item(2)->text(), QStringLiteral("third"));
    }

private:
    RecordingHost host;
};

QTEST_MAIN(tst_TargetPorts)
#include "tst_targetports.moc"
