#include "editfixture.h"

// What the commands that change a project leave in it, as a fresh open of
// the project reads it back.
namespace {

const QList<EditFixture::Row> rows {
    {"groups are added behind the children, in the order given", {"@P", "add", "group", ".", "X", "Y"},
     "added group X, Y\n", {"Lib group", "Lib.a.c source", "Tests group", "X group", "Y group"}},
    {"a source's file joins the Sources folder and a node stands for it",
     {"@P", "add", "source", "Tests", "@D/src/b.c"}, "added source Tests.b.c\n",
     {"Tests.b.c source", "file Sources/./src/b.c"}},
    {"a script file joins the Scripts folder, asked before Sources", {"@P", "add", "source", "Lib", "@D/t.ptu"},
     "added source Lib.t.ptu\n", {"file Scripts/./t.ptu"}},
    {"a file the project knows keeps its one place", {"@P", "add", "source", "Tests", "@D/src/a.c"},
     "added source Tests.a.c\n", {"Lib.a.c source", "Tests.a.c source", "file Sources/./src/a.c", "files 1"}},
    {"a plug-in's kind stands where it says it may", {"@P", "add", "file_check", ".", "Check"},
     "added file_check Check\n", {"Tests group", "Check filechecknode"}},
    {"a choice by its label stores its value", {"@P", "set", "Lib", "clockKind", "Elapsed time"},
     "set clockKind = \"Elapsed time\" on Lib in configuration \"Native C\"\n", {"Lib [Native C] clockKind=2"}},
    {"a list takes values separated by commas", {"@P", "set", "Tests", "exclude_dir", "a,b c"}, "set exclude_dir",
     {"Tests [Native C] exclude_dir=a|b c"}},
    {"a value may begin with a dash, in another configuration",
     {"@P", "set", ".", "cflags", "-O2", "--config", "Other"}, "set cflags = \"-O2\" on . in configuration \"Other\"\n",
     {"base [Other] cflags=-O2", "!base [Native C] cflags=-O2"}},
    {"a boolean reads yes and no", {"@P", "set", "Lib", "ansiMode", "No"}, "set ansiMode",
     {"Lib [Native C] ansiMode=false"}},
    {"unset lets the inherited value show", {"@P", "unset", "Lib", "cflags"},
     "unset cflags on Lib in configuration \"Native C\"\n", {"Lib group", "!Lib [Native C] cflags=-DLIB"}},
    {"a removed node takes its children along", {"@P", "remove", "Lib"}, "removed Lib\n",
     {"base project", "Tests group", "nodes 1"}},
    {"a rename", {"@P", "rename", "Tests", "Checks"}, "renamed Tests to Checks\n", {"Lib group", "Checks group"}},
    {"a move without a sibling puts the node first", {"@P", "move", "Tests", "Lib"}, "moved Tests to Lib.Tests, first\n",
     {"Lib group", "Lib.Tests group", "Lib.a.c source"}},
    {"a move behind a sibling", {"@P", "move", "Lib.a.c", ".", "--after", "Tests"}, "moved Lib.a.c to a.c behind Tests\n",
     {"Lib group", "Tests group", "a.c source", "nodes 3"}},
};

QString kindOf(const QAStData* data)
{
    return QString::fromLatin1(data->metaObject()->className())
        .remove(QLatin1String("QAStNode"))
        .remove(QLatin1String("QASt"))
        .toLower();
}

// Each node with its kind, in tree order; each own setting of each
// configuration; each file with its folder.
QStringList readBack(QAStProject& project)
{
    QStringList lines;
    int nodes = 0;
    QList<QAStNode*> pending {&project};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeFirst();
        QStringList names;
        for (const QAStData* each = node; each && each != &project; each = each->parent())
            names.prepend(each->name());
        const QString name = node == &project ? project.name() : names.join(QLatin1Char('.'));
        lines << name + QLatin1Char(' ') + kindOf(node);
        for (const QString& configuration : node->configurationList()) {
            const QAStConfiguration* store = node->configuration(configuration);
            for (const QString& key : store->propertyNames()) {
                const QVariant value = store->property(key);
                lines << QStringLiteral("%1 [%2] %3=%4")
                             .arg(name, configuration, key,
                                  value.typeId() == QMetaType::QStringList ? value.toStringList().join(QLatin1Char('|'))
                                                                           : value.toString());
            }
        }
        pending = node->children() + pending;
        ++nodes;
    }
    lines << QStringLiteral("nodes %1").arg(nodes - 1);
    for (QAStFile* file : project.files())
        lines << QStringLiteral("file %1/%2").arg(file->parent()->name(), file->fileKey());
    lines << QStringLiteral("files %1").arg(project.files().size());
    return lines;
}

} // namespace

class tst_BatchEdit : public QObject
{
    Q_OBJECT

    EditFixture edit;

private slots:
    void initTestCase() { edit.runAll(rows); }

    void changes_data() { edit.table(rows); }
    void changes()
    {
        QFETCH(QString, message);
        QFETCH(QStringList, readBack);
        const BatchFixture::Run run = edit.current();
        QVERIFY2(run.status == 0, qPrintable(run.err));
        // One line, saying what was done.
        QVERIFY2(run.out.startsWith(message) && run.out.count(QLatin1Char('\n')) == 1, qPrintable(run.out));
        const QString path = edit.place(QStringLiteral("@P"), QLatin1String(QTest::currentDataTag()));
        QAStProject project(path);
        const QStringList lines = ::readBack(project);
        qsizetype at = 0;
        for (const QString& line : readBack) {
            if (line.startsWith(QLatin1Char('!'))) {
                QVERIFY2(!lines.contains(line.mid(1)), qPrintable(line));
                continue;
            }
            at = lines.indexOf(line, at);
            QVERIFY2(at >= 0, qPrintable(line + QStringLiteral(" not in order in:\n") + lines.join(QLatin1Char('\n'))));
        }
        // The reopened project writes back exactly what the command saved.
        QString text;
        QTextStream stream(&text);
        project.write(stream, 0);
        stream.flush();
        QCOMPARE(text.toUtf8(), EditFixture::contents(path));
    }
};

QTEST_GUILESS_MAIN(tst_BatchEdit)
#include "tst_batchedit.moc"
