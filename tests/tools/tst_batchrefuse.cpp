#include "editfixture.h"
#include "qastdatafactory.h"

// A change that the commands refuse: exit status 4, one line on standard
// error, and both files of the project as they were, byte for byte. Where a
// command names several things, what it made before the refusal is not
// saved either.
namespace {

QList<EditFixture::Row> rows()
{
    QList<EditFixture::Row> list {
        {"an unknown kind names the kinds", {"@P", "add", "folder", ".", "X"},
         "unknown kind \"folder\"; the kinds are: group, application, library", {}},
        {"a name the project has, behind a name it lacks", {"@P", "add", "group", "Tests", "X", "a.c"},
         "a node named \"a.c\" exists", {}},
        {"a child the parent does not accept", {"@P", "add", "group", "Lib.a.c", "X"},
         "a group node cannot stand under Lib.a.c", {}},
        {"a plug-in's kind where it says it may not stand", {"@P", "add", "file_check", "Lib.a.c", "X"},
         "a file_check node cannot stand under Lib.a.c", {}},
        {"a missing file behind a file that exists", {"@P", "add", "source", "Lib", "@D/src/b.c", "@D/nope.c"},
         "no file \"@D/nope.c\"", {}},
        {"an unknown key", {"@P", "set", "Lib", "cflag", "x"}, "no setting \"cflag\"", {}},
        {"a value outside a choice", {"@P", "set", "Lib", "clockKind", "3"},
         "\"3\" is no value for clockKind: it takes one of: Default clock of the port, Processor time, Elapsed time", {}},
        {"an integer out of range", {"@P", "set", "Lib", "computerPort", "0"},
         "\"0\" is no value for computerPort: it takes an integer from 1 to 65535", {}},
        {"unset of a value the node does not hold", {"@P", "unset", "Tests", "cflags"},
         "cflags has no value of its own on Tests in configuration \"Native C\"", {}},
        {"a source is named after its file", {"@P", "rename", "Lib.a.c", "main.c"}, "Lib.a.c cannot be renamed", {}},
        {"a move into the node's own subtree", {"@P", "move", "Lib", "Lib.a.c"}, "Lib cannot move into itself", {}},
        {"a project file that exists", {"new", "@P"}, "@P exists already", {}},
    };
    // A kind of the library whose class this build lacks is refused by name.
    static const QList<std::pair<const char*, const char*>> kinds {{"application", "QAStNodeApplication"},
                                                                    {"library", "QAStNodeLibrary"},
                                                                    {"unit-testing", "QAStNodeUnitTesting"},
                                                                    {"user", "QAStNodeUser"}};
    for (const auto& [kind, className] : kinds) {
        if (!QAStDataFactory::hasMaker(QLatin1String(className))) {
            list.append({"a kind whose class this build lacks", {"@P", "add", kind, ".", "X"},
                         QStringLiteral("this installation cannot make nodes of the kind \"%1\"").arg(kind), {}});
            break;
        }
    }
    return list;
}

} // namespace

class tst_BatchRefuse : public QObject
{
    Q_OBJECT

    EditFixture edit;

private slots:
    void initTestCase() { edit.runAll(rows()); }

    void refusals_data() { edit.table(rows()); }
    void refusals()
    {
        QFETCH(QString, message);
        const BatchFixture::Run run = edit.current();
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.startsWith(QStringLiteral("velmont-batch: ") + message) && run.err.count(QLatin1Char('\n')) == 1,
                 qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
        const QString tag = QLatin1String(QTest::currentDataTag());
        QCOMPARE(edit.projectBytes(tag), edit.before.value(tag));
    }
};

QTEST_GUILESS_MAIN(tst_BatchRefuse)
#include "tst_batchrefuse.moc"
