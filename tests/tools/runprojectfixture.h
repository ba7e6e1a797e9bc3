#pragma once

#include "batchfixture.h"
#include "qastnode.h"

#include <QDateTime>
#include <QDomDocument>
#include <QFile>

/// A project of three test nodes of the kind "run_test" under the group
/// "Unit tests" (Queue, Stack and List, one source each) and an excluded
/// source beside the group, in two configurations, with an installation that
/// holds the plug-in of that kind and the tests' script. The script links a
/// program into obj/ when a build runs it, and when an execution does it
/// copies results/NAME.xrd into obj/ as the node's result file; it fails
/// when results/NAME.fail exists, or results/NAME.fail-CONFIGURATION, and
/// waits for the host to die when results/NAME.hang does.
struct RunProjectFixture {
    BatchFixture batch;
    QString installation;
    QDateTime origin = QDateTime::currentDateTime().addSecs(-3600);

    QString path(const QString& name) const { return batch.path(QStringLiteral("p/") + name); }
    QString project() const { return path(QStringLiteral("p.vmp")); }

    bool write(const QString& name, const QByteArray& text, int age = -1) const
    {
        return writeFile(path(name), text) && (age < 0 || touch(name, age));
    }
    /// Sets the file's time to \a seconds after the fixture's origin.
    bool touch(const QString& name, int seconds) const { return setModified(path(name), origin.addSecs(seconds)); }

    static QByteArray node(const QString& name, int quid, const QString& extra = QString())
    {
        return QStringLiteral("<node><data><name>%1</name><quid>%2</quid><renameable>true</renameable>"
                              "<deletable>true</deletable><open>true</open><sorted>false</sorted>"
                              "<executionResult>5</executionResult></data><current_configuration>Native C"
                              "</current_configuration>%3<configuration_list><configuration><name>Native C</name>"
                              "</configuration><configuration><name>Other C</name></configuration>"
                              "</configuration_list></node>")
            .arg(name)
            .arg(quid)
            .arg(extra.isEmpty() ? QStringLiteral("<state>0</state>") : extra)
            .toUtf8();
    }
    /// A source of src/NAME.c whose object obj/NAME.o the project records
    /// as built in "Native C" when \a built.
    static QByteArray source(const QString& name, int quid, bool built, bool excluded = false)
    {
        QString extra = excluded ? QStringLiteral("<state>1</state>") : QStringLiteral("<state>0</state>");
        if (built)
            extra += QStringLiteral("<outfilename_list><outfilename><filetype>%1</filetype><filepath>obj/%2.o"
                                    "</filepath></outfilename></outfilename_list>")
                         .arg(QAStNode::_hashCode(QStringLiteral("Native C")) + QStringLiteral("_OBJ"), name);
        return "<source><nodefile_ref>" + node(name + QStringLiteral(".c"), quid, extra) + "<filepath>src/"
            + name.toUtf8() + ".c</filepath></nodefile_ref><integrated>true</integrated><source_child>"
              "</source_child></source>";
    }
    static QByteArray test(const QString& name, int quid, const QByteArray& children)
    {
        return "<run_test><test>"
            + node(name, quid, QStringLiteral("<state>0</state><perlscript_after_child>RunTest.pl</perlscript_after_child>"))
            + "<test_child>" + children + "</test_child></test></run_test>";
    }

    /// Writes the project, its sources, and, when \a built, their objects
    /// and programs, up to date.
    bool setUp(bool built)
    {
        installation = batch.installationWith(QStringLiteral("run"), {{QStringLiteral("RunTest.pl"), script()}});
        QDir(installation).remove(QStringLiteral("plugins"));
        QDir(installation).mkpath(QStringLiteral("plugins"));
        QFile::link(RecordingHost::stageDir() + QStringLiteral("/plugins"), installation + QStringLiteral("/plugins/stage"));
        QFile::link(QStringLiteral(SDK_RUNTEST_PLUGIN), installation + QStringLiteral("/plugins/runtest.so"));
        const QByteArray tests = test(QStringLiteral("Queue"), 11, source(QStringLiteral("queue"), 12, built))
            + test(QStringLiteral("Stack"), 13, source(QStringLiteral("stack"), 14, built))
            + test(QStringLiteral("List"), 15, source(QStringLiteral("list"), 16, built));
        const QByteArray configuration = "<configuration><name>%1</name><executionFlag>63</executionFlag>"
                                         "<targetPath>gnu_c_native</targetPath><sourceLanguage>C</sourceLanguage>"
                                         "<intdir>obj</intdir><outdir>obj</outdir><objectExt>o</objectExt>"
                                         "<testProgram>&lt;default&gt;</testProgram></configuration>";
        const QByteArray project
            = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE project SYSTEM \"./lib/project.dtd\" >\n<project><group>" + node(QStringLiteral("p"), 10)
            + "<group_child><group>" + node(QStringLiteral("Unit tests"), 20) + "<group_child>" + tests
            + "</group_child></group>" + source(QStringLiteral("tool"), 21, built, true)
            + "</group_child></group><object_file>p.inf</object_file><sort_method>1</sort_method>"
              "<root_configuration_list>"
            + QByteArray(configuration).replace("%1", "Native C") + QByteArray(configuration).replace("%1", "Other C")
            + "</root_configuration_list><version_file>1</version_file></project>\n";
        // The queue's source includes a header, which the objects file
        // records as its dependency.
        const QByteArray objects
            = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE objects SYSTEM \"./lib/project.dtd\" >\n<objects><folder><data><name>p</name><quid>30</quid>"
              "</data><filters></filters><folder_child><file><tested_tag><tag><data><name>queue.c</name>"
              "<quid>31</quid></data><filepath>./src/queue.c</filepath><line>0</line><qualifier>0</qualifier>"
              "<signature></signature><tag_child></tag_child></tag></tested_tag><filepath>src/queue.c</filepath>"
              "<last_modification></last_modification><dependencies>src/shared.h</dependencies></file>"
              "</folder_child></folder><version_file>1</version_file></objects>\n";
        bool ok = write(QStringLiteral("p.vmp"), project) && write(QStringLiteral("p.inf"), objects)
            && write(QStringLiteral("src/shared.h"), "#define CAPACITY 4\n", 0)
            && write(QStringLiteral("src/queue.c"), "#include \"shared.h\"\nint queue_size(void) { return CAPACITY; }\n", 0);
        for (const char* name : {"stack", "list", "tool"})
            ok = ok && write(QStringLiteral("src/%1.c").arg(QLatin1String(name)), QByteArray("int ") + name + "(void) { return 1; }\n", 0);
        for (const char* name : {"queue", "stack", "list", "tool"})
            ok = ok && (!built || write(QStringLiteral("obj/%1.o").arg(QLatin1String(name)), "object", 10));
        for (const char* name : {"Queue", "Stack", "List"})
            ok = ok && (!built || write(QStringLiteral("obj/") + QLatin1String(name), "program", 20));
        return ok;
    }

    BatchFixture::Run run(const QStringList& arguments) const
    {
        return batch.run(QStringList {project()} + arguments, installation);
    }

    static QByteArray script()
    {
        return R"(use strict;
use warnings;
use File::Copy qw(copy);
my ($environment, $name) = @ARGV;
our ($STAGE, $INTDIR, $LOGFILENAME, $CONFIGURATION);
do $environment or die "cannot read $environment\n";
mkdir $INTDIR;
if ($STAGE !~ /e/) {
    open(my $program, '>', "$INTDIR/$name") or die;
    print $program "program\n";
    exit 0;
}
if (-e "results/$name.hang") {
    my $host = getppid();
    select(undef, undef, undef, 0.05) while getppid() == $host;
    exit 1;
}
if (-e "results/$name.xrd") {
    copy("results/$name.xrd", "$INTDIR/$name.xrd") or die;
    open(my $log, '>>', $LOGFILENAME) or die;
    print $log "XRD $INTDIR/$name.xrd\n";
}
exit(-e "results/$name.fail" || -e "results/$name.fail-$CONFIGURATION" ? 1 : 0);
)";
    }

    static QDomDocument parse(const QString& path)
    {
        QFile file(path);
        QDomDocument document;
        if (file.open(QIODevice::ReadOnly))
            document.setContent(&file);
        return document;
    }
    /// The test suite \a name of a JUnit document; null when it has none.
    static QDomElement suite(const QDomDocument& document, const QString& name)
    {
        for (QDomElement each = document.documentElement().firstChildElement(QStringLiteral("testsuite"));
             !each.isNull(); each = each.nextSiblingElement(QStringLiteral("testsuite"))) {
            if (each.attribute(QStringLiteral("name")) == name)
                return each;
        }
        return {};
    }
};
