#include "batchfixture.h"
#include "testshare.h"
#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastnodegroup.h"
#include "qastnodesource.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qasttargetpackagelist.h"

#include <QRegularExpression>
#include <QTest>

#include <deque>

// The commands that change a project, each run on its own copy of one small
// project: "Lib" holding the source a.c, and "Tests" behind it, in the
// configurations "Native C" (current) and "Other". The runs go a few side by
// side; each row then checks its own. A change is read back through a fresh
// open; a refusal leaves both files byte for byte, also where the command
// had made something before it refused.
namespace {

struct Row {
    const char* tag;
    QStringList arguments; // "@P" is the row's project file, "@D" its directory
    int status;
    QString message;      // the start of standard output on success, of standard error otherwise
    QStringList readBack; // lines of the reopened project, in this order; "!" for a line it lacks
};

QList<Row> rows()
{
    QList<Row> list {
        {"groups are added behind the children, in the order given", {"@P", "add", "group", ".", "X", "Y"}, 0,
         "added group X, Y\n", {"Lib group", "Lib.a.c source", "Tests group", "X group", "Y group"}},
        {"a source's file joins the Sources folder and a node stands for it",
         {"@P", "add", "source", "Tests", "@D/src/b.c"}, 0, "added source Tests.b.c\n",
         {"Tests.b.c source", "file Sources/./src/b.c"}},
        {"a plug-in's kind stands where it says it may", {"@P", "add", "file_check", ".", "Check"}, 0,
         "added file_check Check\n", {"Tests group", "Check filechecknode"}},
        {"a choice by its label stores its value", {"@P", "set", "Lib", "clockKind", "Elapsed time"}, 0,
         "set clockKind = \"Elapsed time\" on Lib in configuration \"Native C\"\n", {"Lib [Native C] clockKind=2"}},
        {"a value may begin with a dash, in another configuration",
         {"@P", "set", ".", "cflags", "-O2", "--config", "Other"}, 0,
         "set cflags = \"-O2\" on . in configuration \"Other\"\n", {"base [Other] cflags=-O2", "!base [Native C] cflags=-O2"}},
        {"a port brings its tool chain to the node", {"@P", "set", "Tests", "targetPath", "gnu_cpp_native"}, 0,
         "set targetPath", {"Tests [Native C] targetName=GNU C++ native (x86_64 Linux)", "Tests [Native C] targetPath=gnu_cpp_native"}},
        {"unset lets the inherited value show", {"@P", "unset", "Lib", "cflags"}, 0,
         "unset cflags on Lib in configuration \"Native C\"\n", {"Lib group", "!Lib [Native C] cflags=-DLIB"}},
        {"a removed node takes its children along", {"@P", "remove", "Lib"}, 0, "removed Lib\n", {"Tests group", "nodes 1"}},
        {"a move behind a sibling", {"@P", "move", "Lib.a.c", ".", "--after", "Tests"}, 0,
         "moved Lib.a.c to a.c behind Tests\n", {"Lib group", "Tests group", "a.c source", "nodes 3"}},

        {"an unknown kind names the kinds", {"@P", "add", "folder", ".", "X"}, 4,
         "unknown kind \"folder\"; the kinds are: group, application, library", {}},
        {"a name the project has, behind a name it lacks", {"@P", "add", "group", "Tests", "X", "a.c"}, 4,
         "a node named \"a.c\" exists", {}},
        {"a child the parent does not accept", {"@P", "add", "group", "Lib.a.c", "X"}, 4,
         "a group node cannot stand under Lib.a.c", {}},
        {"a plug-in's kind where it says it may not stand", {"@P", "add", "file_check", "Lib.a.c", "X"}, 4,
         "a file_check node cannot stand under Lib.a.c", {}},
        {"a missing file behind a file that exists", {"@P", "add", "source", "Lib", "@D/src/b.c", "@D/nope.c"}, 4,
         "no file \"@D/nope.c\"", {}},
        {"a value outside a choice", {"@P", "set", "Lib", "clockKind", "3"}, 4,
         "\"3\" is no value for clockKind: it takes one of: Default clock of the port, Processor time, Elapsed time", {}},
        {"a move into the node's own subtree", {"@P", "move", "Lib", "Lib.a.c"}, 4, "Lib cannot move into itself", {}},
    };
    // A kind of the library whose class this build lacks is refused by name.
    static const QList<std::pair<const char*, const char*>> kinds {
        {"application", "QAStNodeApplication"}, {"library", "QAStNodeLibrary"}, {"unit-testing", "QAStNodeUnitTesting"}};
    for (const auto& [kind, className] : kinds) {
        if (!QAStDataFactory::hasMaker(QLatin1String(className))) {
            list.append({"a kind whose class this build lacks", {"@P", "add", kind, ".", "X"}, 4,
                         QStringLiteral("this installation cannot make nodes of the kind \"%1\"").arg(kind), {}});
            break;
        }
    }
    QList<Row> share;
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (inThisShare(i))
            share.append(list.at(i));
    }
    return share;
}

// Each node with its kind, in tree order, and its own settings in each
// configuration; each file with its folder.
QStringList readBack(QAStProject& project)
{
    QStringList lines;
    QList<QAStNode*> pending {&project};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeFirst();
        QStringList names;
        for (const QAStData* each = node; each != &project; each = each->parent())
            names.prepend(each->name());
        const QString name = node == &project ? project.name() : names.join(QLatin1Char('.'));
        lines << name + QLatin1Char(' ')
                     + QString::fromLatin1(node->metaObject()->className()).remove(QRegularExpression("^QASt(Node)?")).toLower();
        for (const QString& configuration : node->configurationList()) {
            const QAStConfiguration* store = node->configuration(configuration);
            for (const QString& key : store->propertyNames()) {
                const QVariant value = store->property(key);
                lines << QStringLiteral("%1 [%2] %3=%4").arg(name, configuration, key,
                                                             value.typeId() == QMetaType::QStringList
                                                                 ? value.toStringList().join(QLatin1Char('|'))
                                                                 : value.toString());
            }
        }
        pending = node->children() + pending;
    }
    lines << QStringLiteral("nodes %1").arg(project.childrenOfClass("QAStNode", true).size());
    for (QAStFile* file : project.files())
        lines << QStringLiteral("file %1/%2").arg(file->parent()->name(), file->fileKey());
    return lines;
}

} // namespace

class tst_BatchEdit : public QObject
{
    Q_OBJECT

    RecordingHost host;
    BatchFixture fixture;
    QHash<QString, BatchFixture::Run> runs;
    QHash<QString, QByteArray> before;

    QString place(QString text, const QString& tag) const
    {
        const QString dir = fixture.path(QString::number(qHash(tag)));
        return text.replace(QLatin1String("@P"), dir + QStringLiteral("/base.vmp")).replace(QLatin1String("@D"), dir);
    }
    QByteArray projectBytes(const QString& tag) const
    {
        return BatchFixture::contents(place(QStringLiteral("@P"), tag)) + BatchFixture::contents(place(QStringLiteral("@D/base.inf"), tag));
    }
    bool makeBase(const QString& dir)
    {
        if (!writeFile(dir + QStringLiteral("/src/a.c"), "int x;\n") || !writeFile(dir + QStringLiteral("/src/b.c"), "int x;\n"))
            return false;
        QAStProject project(dir + QStringLiteral("/base.vmp"));
        for (const char* name : {"Native C", "Other"}) {
            project.addConfiguration(QLatin1String(name));
            project.initialConfiguration(QLatin1String(name))->init(*QAStNode::getTDP(QStringLiteral("gnu_c_native")));
        }
        project.setCurrentConfiguration(QStringLiteral("Native C"));
        auto* lib = new QAStNodeGroup(QStringLiteral("Lib"), &project, nullptr);
        new QAStNodeSource(project.rootFolder()->addFile(dir + QStringLiteral("/src/a.c"), true), lib, nullptr);
        new QAStNodeGroup(QStringLiteral("Tests"), &project, lib);
        lib->configuration(QStringLiteral("Native C"))->setProperty(QStringLiteral("cflags"), QStringLiteral("-DLIB"));
        return project.saveProcess();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        QAStProject::setModeBatch(true);
        const QString base = fixture.path(QStringLiteral("base"));
        QVERIFY(makeBase(base));
        std::deque<std::pair<QString, std::unique_ptr<QProcess>>> running;
        const auto finish = [&] {
            auto& [tag, process] = running.front();
            QVERIFY(process->waitForFinished(25000) && process->exitStatus() == QProcess::NormalExit);
            runs.insert(tag, {process->exitCode(), QString::fromLocal8Bit(process->readAllStandardOutput()),
                              QString::fromLocal8Bit(process->readAllStandardError())});
            running.pop_front();
        };
        for (const Row& row : rows()) {
            const QString tag = QLatin1String(row.tag);
            QVERIFY(QDir().mkpath(place(QStringLiteral("@D/src"), tag)));
            for (const char* name : {"/base.vmp", "/base.inf", "/src/a.c", "/src/b.c"})
                QVERIFY(QFile::copy(base + QLatin1String(name), place(QStringLiteral("@D"), tag) + QLatin1String(name)));
            before.insert(tag, projectBytes(tag));
            QStringList arguments;
            for (const QString& argument : row.arguments)
                arguments << place(argument, tag);
            // A few at a time: the machine is shared.
            running.emplace_back(tag, fixture.start(arguments, RecordingHost::stageDir()));
            if (running.size() == 4)
                finish();
        }
        while (!running.empty())
            finish();
    }
    void cleanupTestCase()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
        QAStData::initialize(nullptr);
    }

    void commands_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("readBack");
        for (const Row& row : rows())
            QTest::newRow(row.tag) << row.status << place(row.message, QLatin1String(row.tag)) << row.readBack;
    }
    void commands()
    {
        QFETCH(int, status);
        QFETCH(QString, message);
        QFETCH(QStringList, readBack);
        const QString tag = QLatin1String(QTest::currentDataTag());
        const BatchFixture::Run run = runs.value(tag);
        QVERIFY2(run.status == status, qPrintable(run.err));
        // One line, on standard output for a change, on standard error for a refusal.
        const QString& said = status == 0 ? run.out : run.err;
        QVERIFY2(said.startsWith(status == 0 ? message : QStringLiteral("velmont-batch: ") + message)
                     && said.count(QLatin1Char('\n')) == 1 && (status == 0 ? run.err : run.out).isEmpty(),
                 qPrintable(run.out + run.err));
        if (status != 0) {
            QCOMPARE(projectBytes(tag), before.value(tag));
            return;
        }
        const QString path = place(QStringLiteral("@P"), tag);
        QAStProject project(path);
        const QStringList lines = ::readBack(project);
        qsizetype at = 0;
        for (const QString& line : readBack) {
            const bool absent = line.startsWith(QLatin1Char('!'));
            if (!absent)
                at = lines.indexOf(line, at);
            QVERIFY2(absent ? !lines.contains(line.mid(1)) : at >= 0,
                     qPrintable(line + QStringLiteral(" (in order) in:\n") + lines.join(QLatin1Char('\n'))));
        }
        // The reopened project writes back exactly what the command saved.
        QString text;
        QTextStream stream(&text);
        project.write(stream, 0);
        stream.flush();
        QCOMPARE(text.toUtf8(), BatchFixture::contents(path));
    }
};

QTEST_GUILESS_MAIN(tst_BatchEdit)
#include "tst_batchedit.moc"
