#include "qastnodegroup.h"

#include "qastperlgen.h"
#include "qatrace.h"

#include <QDomElement>
#include <QTextStream>

namespace {
// Coverage analysis selected: the group hands on the coverage and trace files.
const int CoverageFlag = 0x200;
const int CompileAndLinkSteps = 0xF;
} // namespace

QAStNodeGroup::QAStNodeGroup(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeContainer(name, pixmap(QStringLiteral("testgroup_xpm")), parent, after)
{
}

QAStNodeGroup::QAStNodeGroup(const QDomElement& element, int version, QAStData* parent,
                             QAStData* after)
    : QAStNodeContainer(element, version, parent, after)
{
    if (!iconName.isSet)
        setIcon(pixmap(QStringLiteral("testgroup_xpm")));
}

QAStNodeGroup::QAStNodeGroup(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeContainer(resources, parent, after)
{
    setIcon(pixmap(QStringLiteral("testgroup_xpm")));
}

bool QAStNodeGroup::abortBuildOnChildError(QAStNode* child)
{
    // A failed child leaves its mark in the group's status, and the next
    // children still run; only a stop ends the group.
    return child && child->executionStatus() == ExecutionStopped;
}

QStringList QAStNodeGroup::disableViewerList() const
{
    return QAStNodeContainer::disableViewerList() << QStringLiteral("Rtx") << QStringLiteral("Tracer");
}

void QAStNodeGroup::buildAfterChildren()
{
    runGroupScript();
}

void QAStNodeGroup::executeAfterChildren(bool debug)
{
    Q_UNUSED(debug);
    runGroupScript();
}

void QAStNodeGroup::runGroupScript()
{
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        executionResult = ExecutionFailed;
        executeFinishEvent();
        abortBuildExecute();
        return;
    }
    generateEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeGroup::executeScriptTerminated,
            Qt::UniqueConnection);
    executePerlScript(QStringLiteral("Group.pl"), directory(), &stream, true, BuildConsole, nullptr);
}

unsigned int QAStNodeGroup::settingsMask() const
{
    return 0x100;
}

void QAStNodeGroup::executeScriptTerminated()
{
    warning("QAStNodeGroup::executeScriptTerminated [%s]", qPrintable(name()));
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeGroup::executeScriptTerminated);
    readLogFile();
    executeFinishEvent();
    abortBuildExecute();
}

void QAStNodeGroup::generateEnv(QTextStream& stream)
{
    // The group's one script gathers results; it must not see the compile
    // and link steps as its own work.
    {
        const ExecutionFlagMask mask(this, CompileAndLinkSteps);
        QAStNodeContainer::generateEnv(stream);
    }
    if (executionFlag() & CoverageFlag) {
        writeFileList(stream, "@FDCFILES", QStringLiteral("FDC"));
        writeFileList(stream, "@TIOFILES", QStringLiteral("TIO"));
    }
    writeFileList(stream, "@RODFILES", QStringLiteral("ROD"));
    QStringList names;
    for (QAStNode* child : children())
        names << QLatin1Char('\'') + QAStPerlGen::perlQuoted(child->name()) + QLatin1Char('\'');
    stream << "@NODENAMES=(" << names.join(QLatin1Char(',')) << ");\n";
}

void QAStNodeGroup::writeFileList(QTextStream& stream, const char* variable, const QString& type)
{
    QStringList files;
    outFileNames(type, files);
    QStringList quoted;
    // Quoting doubles backslashes as a Perl path needs, and escapes quotes too.
    for (const QString& file : files)
        quoted << QLatin1Char('\'') + QAStPerlGen::perlQuoted(file) + QLatin1Char('\'');
    stream << variable << "=(" << quoted.join(QLatin1Char(',')) << ");\n";
}
