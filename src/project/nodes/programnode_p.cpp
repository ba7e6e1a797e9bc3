#include "programnode_p.h"

#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastnode.h"
#include "qastnodefileref.h"
#include "qastperlgen.h"

#include <QTextStream>

namespace {

const int CLanguage = 1;
const int CppLanguage = 2;
const int AdaLanguage = 4;
const int JavaLanguage = 8;
// The Java run-time analyses that need the target port prepared.
const int JavaAnalyses = 0x1600;
// The analyses that read the trace of the program's run.
const int TraceAnalyses = 0x61C00;

// File kinds of the file model's filters.
const int AdaFiles = 14;
const int CppFiles = 12;
const int JavaFiles = 15;
const int CFiles = 10;
const int AssemblerFiles = 26;
const int HeaderFiles = 9;
const int AllFiles = 27;

int languageOf(const QAStNode* node)
{
    const QAStConfiguration* configuration = node->currentConfiguration();
    return configuration ? configuration->languageType() : 0;
}

} // namespace

namespace ProgramNode {

void writePerlList(QTextStream& stream, const char* name, const QStringList& paths, const QString& separator)
{
    QStringList quoted;
    for (const QString& path : paths)
        quoted << QLatin1Char('\'') + QAStPerlGen::perlQuoted(path) + QLatin1Char('\'');
    stream << name << "=(" << quoted.join(separator) << ");\n";
}

Preparation preparationOf(QAStNode* node)
{
    const QAStConfiguration* configuration = node->currentConfiguration();
    if (!configuration)
        return {};
    if (configuration->property(QStringLiteral("st_custom")).toBool())
        return {QStringLiteral("Probe.pl"), {CLanguage, CppLanguage}, true};
    const int language = configuration->languageType();
    if (language == AdaLanguage)
        return {QStringLiteral("AdaTDP.pl"), {AdaLanguage}, true};
    if (language == JavaLanguage && (node->executionFlag() & JavaAnalyses))
        return {QStringLiteral("TDPBatchJava.pl"), {}, false};
    return {};
}

bool startPreparation(QAStNode* node, const Preparation& preparation)
{
    emit node->buildExecuteStarted();
    QTextStream stream;
    if (!node->createEnvironmentFile(stream))
        return false;
    node->generateEnv(stream);
    if (preparation.listsSources) {
        QStringList sources;
        for (QAStData* data : node->childrenOfClass("QAStNodeSource", true)) {
            auto* source = static_cast<QAStNodeFileRef*>(data);
            if (preparation.languages.contains(source->languageType()))
                sources << source->fileKey();
        }
        writePerlList(stream, "@SOURCES", sources, QStringLiteral(", "));
    }
    node->executePerlScript(preparation.script, node->directory(), &stream, true, QAStData::BuildConsole, nullptr);
    return true;
}

bool preparationSucceeded(QAStNode* node)
{
    const int status = node->executionStatus();
    if (status == QAStData::ExecutionFailed || status == QAStData::ExecutionStopped)
        return false;
    for (QAStData* descendant : node->childrenOfClass("QAStNode", true))
        static_cast<QAStNode*>(descendant)->setForceRebuild(true);
    return true;
}

bool alwaysRebuilt(const QAStNode* node)
{
    return languageOf(node) == JavaLanguage;
}

void writeProgramLists(QAStNode* node, QTextStream& stream)
{
    QStringList files;
    node->outFileNames(QStringLiteral("FDC"), files);
    writePerlList(stream, "@FDCFILES", files);
    if (node->executionFlag() & TraceAnalyses) {
        files.clear();
        node->outFileNames(QStringLiteral("TSF"), files);
        writePerlList(stream, "@TSFFILES", files);
    }
    QList<QAStData*> holders = node->childrenOfClass("QAStNodeTestScript", true);
    holders += node->childrenOfClass("QAStNodeLink", true);
    if (!holders.isEmpty())
        writeObjectTestList(node, holders, stream);
}

void writeObjectTestList(QAStNode* node, const QList<QAStData*>& holders, QTextStream& stream)
{
    QStringList files;
    for (QAStData* holder : holders) {
        if (QAStNode* each = QAStNode::toNode(holder))
            each->outFileNames(QStringLiteral("OTI"), files);
    }
    node->determineRelativePathFiles(files);
    writePerlList(stream, "@OTIFILES", files);
}

QStringList fileFilters(const QAStNode* node)
{
    QStringList filters;
    switch (languageOf(node)) {
    case AdaLanguage: filters += QAStFile::fileTypeFilter(AdaFiles); break;
    case CppLanguage: filters += QAStFile::fileTypeFilter(CppFiles); break;
    case JavaLanguage: filters += QAStFile::fileTypeFilter(JavaFiles); break;
    default: break;
    }
    for (int kind : {CFiles, AssemblerFiles, HeaderFiles, AllFiles})
        filters += QAStFile::fileTypeFilter(kind);
    return filters;
}

} // namespace ProgramNode
