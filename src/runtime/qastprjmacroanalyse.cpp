#include "qastprjmacroanalyse.h"

#include "qailogmonitor.h"
#include "qastconfiguration.h"
#include "qastdata.h"
#include "qastfile.h"
#include "qastnode.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QTreeWidgetItem>

QAStPrjMacroAnalyse::QAStPrjMacroAnalyse(QAStData* data)
    : _studio(QAStData::studioIFace()), _data(data)
{
}

QAStPrjMacroAnalyse::QAStPrjMacroAnalyse(QTreeWidgetItem* item)
    : _studio(QAStData::studioIFace()), _item(item)
{
}

// A node without a current configuration gives a null value, so the macro
// expands to nothing rather than to a default it never chose.
QVariant QAStPrjMacroAnalyse::configurationValue(QAStNode* node, const QString& key) const
{
    QAStConfiguration* configuration = node->currentConfiguration();
    return configuration ? configuration->property(key) : QVariant();
}

QString QAStPrjMacroAnalyse::outFiles(QAStNode* node, const char* type) const
{
    QStringList files;
    node->outFileNames(QString::fromLatin1(type), files);
    return files.join(QLatin1Char(' '));
}

QString QAStPrjMacroAnalyse::interpretMacro(int& token)
{
    switch (token) {
    case NodeNameMacro:
        if (_data)
            return _data->name();
        return _item ? _item->text(0) : QString();
    case VcsItemsMacro: {
        QString items(QLatin1String(""));
        if (_data) {
            for (const QString& item : _data->vcsItems())
                items += QLatin1Char('"') + item + QLatin1String("\" ");
        }
        return items;
    }
    case NodePathMacro: {
        // File references and list view result items have a path too, once
        // the library holds them.
        const auto* file = qobject_cast<const QAStFile*>(_data.data());
        return file ? file->absolutePath() : QString();
    }
    case PrjNameMacro:
    case PrjDirMacro:
    case PrjPathMacro: {
        auto* project = qobject_cast<QAStProject*>(_data ? _data->project() : nullptr);
        if (!project)
            return QString();
        if (token == PrjPathMacro)
            return project->path();
        return token == PrjNameMacro ? project->name() : project->directory();
    }
    case BinDirMacro:
        return _studio ? _studio->binaryDir() : QString();
    case PerlMacro:
        return QStringLiteral("perllauncher");
    default:
        break;
    }

    QAStNode* node = QAStNode::toNode(_data);
    if (!node)
        return QString();
    switch (token) {
    case TargetDirMacro: {
        const QString name = configurationValue(node, QStringLiteral("targetPath")).toString();
        const QAStTargetPackageList* ports = QAStTargetPackageList::installTargetPackages();
        const QAStTargetPackage* port = ports && !name.isEmpty() ? ports->targetPackage(name) : nullptr;
        return port ? port->fullPath : QString();
    }
    case CppIncludesMacro:
        // The first directory goes without its option: callers write it.
        return configurationValue(node, QStringLiteral("ge_incdir")).toStringList().join(QLatin1String(" -I"));
    case FdcMacro:
        return outFiles(node, "FDC");
    case TsfMacro:
        return outFiles(node, "TSF");
    case ObjectsMacro:
        return outFiles(node, "OBJ");
    case TioMacro:
        return node->tioFile();
    case TdfMacro:
        return node->tdfFile();
    case RodMacro:
        return node->outFileName(QStringLiteral("XRD"));
    case CFlagsMacro:
        return configurationValue(node, QStringLiteral("cflags")).toString();
    case LdLibsMacro:
        return configurationValue(node, QStringLiteral("additionnalObjects")).toString();
    case LdFlagsMacro:
        return configurationValue(node, QStringLiteral("ldflags")).toString();
    case ArgsMacro:
        return configurationValue(node, QStringLiteral("arguments")).toString();
    // Crosswise on purpose: $$OUTDIR is where the intermediate files go,
    // $$REPORTDIR the output directory.
    case OutDirMacro:
        return configurationValue(node, QStringLiteral("intdir")).toString();
    case ReportDirMacro:
        return configurationValue(node, QStringLiteral("outdir")).toString();
    default:
        // $$TESTER speaks of test nodes, which the library does not hold yet:
        // it answers a null string for now, as $$VCSITEMS of a list view item
        // answers the empty text. $$VCSDIR has no binding.
        return QString();
    }
}

QString QAStPrjMacroAnalyse::interpretFunction(int& token, QStringList arguments, QString title)
{
    if (token != PromptFunction)
        return QString();
    // No caption, no dialog: the caller expands where nobody may be asked.
    if (title.isNull())
        return QString(QLatin1String(""));
    if (!_studio)
        return QString();
    bool ok = false;
    const QString answer = _studio->getText(title, arguments.value(0), QString(), &ok);
    return ok ? answer : QString();
}

void QAStPrjMacroAnalyse::errorHandle(const QString& message)
{
    QAILogMonitor* console = _studio ? _studio->console(QAStData::BuildConsole) : nullptr;
    if (console)
        console->log(message + QLatin1Char('\n'));
    else
        warning("QAStPrjMacroAnalyse: %s", message.toLocal8Bit().constData());
}
