#include "qastnodetest.h"

#include "nodemenus_p.h"
#include "qafileutil.h"
#include "qainterfaceids.h"
#include "qamessagebox.h"
#include "qastconfiguration.h"
#include "qastnodeplugincenter.h"
#include "qastproject.h"
#include "qastsplitsurvey.h"
#include "qafilesurvey.h"
#include "qatrace.h"
#include "studiointerface.h"
#include "viewerinterface.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QPointer>
#include <QTextStream>
#include <QWidget>

namespace {

const int BuildSteps = 0x0F;
const int RunStep = 0x10;
const int AnyStep = 0x3F;
const int DebugRun = 0x100;
const int CoverageOnTheFly = 0x200;
const int TraceOnTheFly = 0x400;
const int JavaMemoryProfile = 0x800;
const unsigned int JavaTestingMask = 0x400000;
const unsigned int NodeKindMask = 0xFFFF00;
const int AdaLanguage = 4;
const int JavaLanguage = 8;

const char* const ExecutionFlag = "executionFlag";

} // namespace

QAStNodeTest::QAStNodeTest(const QString& name, const QPixmap& icon, QAStData* parent, QAStData* after)
    : QAStNodeContainer(name, icon, parent, after)
{
}

QAStNodeTest::QAStNodeTest(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStNodeContainer(NodeElement {element.firstChild().toElement()}, version, parent, after)
{
    init(element, version);
}

QAStNodeTest::QAStNodeTest(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeContainer(resources, parent, after)
{
}

QAStNodeTest::~QAStNodeTest() = default;

void QAStNodeTest::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "test"))
        return;
    initChildren(element.firstChildElement(QStringLiteral("test_child")), version,
                 {QStringLiteral("QAStNode")});
}

void QAStNodeTest::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<test>\n";
    QAStNode::write(stream, indent + 1);
    indentXML(stream, indent + 1);
    stream << "<test_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</test_child>\n";
    indentXML(stream, indent);
    stream << "</test>\n";
}

// ---------------------------------------------------------------------------
// The program

// By the node-kind bits alone: a node class that selects every setting is
// not a Java testing node for that.
bool QAStNodeTest::isJavaTesting() const
{
    return (settingsMask() & NodeKindMask) == JavaTestingMask;
}

int QAStNodeTest::language() const
{
    const QAStConfiguration* configuration = currentConfiguration();
    return configuration ? configuration->languageType() : 0;
}

QString QAStNodeTest::binaryTester()
{
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration)
        return QString();
    const QString key = language() == JavaLanguage ? QStringLiteral("javaJarFileName")
                                                   : QStringLiteral("testProgram");
    QString program = configuration->property(key).toString();
    if (program == QLatin1String("<default>")) {
        program = configuration->property(QStringLiteral("intdir")).toString() + QDir::separator()
            + QAFileUtil::generateFilename(name());
        const QString extension = configuration->property(QStringLiteral("binaryExt")).toString();
        if (!extension.isEmpty())
            program += QLatin1Char('.') + extension;
    }
    return determineAbsolutePathFile(program);
}

bool QAStNodeTest::isNodeExecutable()
{
    return true;
}

// The children make the program; they are never run one by one.
QList<QAStNode*> QAStNodeTest::childrenToExecute()
{
    return {};
}

bool QAStNodeTest::mustRebuilt()
{
    if (QAStNode::mustRebuilt())
        return true;
    const QString program = binaryTester();
    if (const QAStConfiguration* configuration = currentConfiguration()) {
        // A Java test that makes no archive has no program of its own to miss.
        const bool checked = language() != JavaLanguage
            || configuration->property(QStringLiteral("javaBuildJarFile")).toBool();
        if (checked && !QFileInfo::exists(program)) {
            setRebuildReason(QStringLiteral("program missing"));
            return true;
        }
    }
    const QDateTime linked = QFileInfo(program).lastModified();
    QStringList objects;
    outFileNames(QStringLiteral("OBJ"), objects);
    QString newer;
    for (const QString& object : std::as_const(objects)) {
        if (linked < QFileInfo(object).lastModified()) {
            newer = object;
            break;
        }
    }
    if (newer.isEmpty())
        return false;
    // An old program is linked again only when a step is selected at all.
    if (!(executionFlag() & AnyStep)) {
        setRebuildReason(QStringLiteral("no step selected"));
        return false;
    }
    setRebuildReason(QStringLiteral("program older than %1").arg(QFileInfo(newer).fileName()));
    return true;
}

// ---------------------------------------------------------------------------
// The run

bool QAStNodeTest::wantsCoverageOnTheFly(int flag) const
{
    const QAStConfiguration* configuration = currentConfiguration();
    return configuration && configuration->property(QStringLiteral("ztc_onthefly")).toInt() > 0
        && language() != AdaLanguage && ((flag & CoverageOnTheFly) || isJavaTesting());
}

// The setting reads the other way round from the coverage one: a trace that
// is not dumped at the end is followed while the test runs.
bool QAStNodeTest::wantsTraceOnTheFly(int flag) const
{
    const QAStConfiguration* configuration = currentConfiguration();
    return configuration && !configuration->property(QStringLiteral("ztt_on_fly")).toBool()
        && language() != AdaLanguage && ((flag & TraceOnTheFly) || isJavaTesting());
}

void QAStNodeTest::executeAfterChildren(bool debug)
{
    const int flag = executionFlag();
    if (!(flag & ExecutionSteps)) {
        displayMessage(BuildConsole, tr("%1: no execution step is selected\n").arg(name()));
        abortBuildExecute();
        return;
    }
    if ((flag & RunStep) && currentConfiguration()) {
        if (wantsCoverageOnTheFly(flag)) {
            _coverageFiles.clear();
            coverageOnTheFly(_coverageFiles);
        }
        if (wantsTraceOnTheFly(flag)) {
            _traceFiles.clear();
            traceOnTheFly(_traceFiles);
        }
        if (language() == JavaLanguage && (flag & JavaMemoryProfile)) {
            QString tsf, tpf;
            memvexJava(&tsf, &tpf);
        }
    }
    const QString script = perlScriptAfterChild();
    if (script.isEmpty()) {
        abortBuildExecute();
        return;
    }
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        executionResult = ExecutionFailed;
        abortBuildExecute();
        return;
    }
    _savedCurrentDir = QDir::currentPath();
    QDir::setCurrent(directory());

    // The script runs the program: it must see the execution steps alone,
    // and whether this is a debug run.
    QAStConfiguration* configuration = currentConfiguration();
    const bool held = configuration && configuration->hasProperty(QString::fromLatin1(ExecutionFlag));
    const QVariant kept = held ? configuration->property(QString::fromLatin1(ExecutionFlag)) : QVariant();
    if (configuration)
        configuration->setProperty(QString::fromLatin1(ExecutionFlag),
                                   (flag & ~BuildSteps) | (debug ? DebugRun : 0));
    generateEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeTest::testerNodeTerminated,
            Qt::UniqueConnection);
    executePerlScript(script, directory(), &stream, true, BuildConsole, nullptr);
    if (configuration) {
        if (held)
            configuration->setProperty(QString::fromLatin1(ExecutionFlag), kept);
        else
            configuration->unsetProperty(QString::fromLatin1(ExecutionFlag));
    }
}

void QAStNodeTest::testerNodeTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeTest::testerNodeTerminated);
    if (!_savedCurrentDir.isEmpty())
        QDir::setCurrent(_savedCurrentDir);
    warning("QAStNodeTest::testerNodeTerminated [%s]", qPrintable(name()));
    if (executionResult != ExecutionSuccess) {
        executeFinishEvent();
        abortBuildExecute();
        return;
    }
    readLogFile();
    if ((executionResult == ExecutionSuccess || background.get()) && wantsTraceOnTheFly(executionFlag()))
        addOutFileName(QStringLiteral("TDF"), _traceFiles);
    readVerdict();
    reportInBatch();
    executeFinishEvent();
    abortBuildExecute();
}

QDomElement QAStNodeTest::_searchChildElement(const QDomElement& element, const QString& tag)
{
    // By a list rather than by recursion: a report may nest deeply.
    QList<QDomElement> pending {element};
    while (!pending.isEmpty()) {
        const QDomElement current = pending.takeLast();
        if (current.tagName() == tag)
            return current;
        QList<QDomElement> children;
        for (QDomElement child = current.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
            children.prepend(child);
        pending += children;
    }
    return QDomElement();
}

void QAStNodeTest::readVerdict()
{
    const QString report = outFileName(QStringLiteral("XRD"));
    if (report.isEmpty())
        return;
    QFile file(report);
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file))
        return;
    const QDomElement node = _searchChildElement(document.documentElement(), QStringLiteral("XROD:NODE"));
    if (!node.isNull() && node.attribute(QStringLiteral("state")) != QLatin1String("ok"))
        executionResult = ExecutionTestFailed;
}

// A batch run has no window to show the report in: the report viewer writes
// it where the run leaves its results.
void QAStNodeTest::reportInBatch()
{
    if (!studioIFace() || !project() || !QAStProject::modeBatch())
        return;
    const QString report = outFileName(QStringLiteral("XRD"));
    if (report.isEmpty() || !QFileInfo::exists(report))
        return;
    QUnknownInterface* face = nullptr;
    QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(QStringLiteral("Reporter"), IID_Viewer,
                                                                      &face);
    if (!face)
        return;
    QStringList files {report};
    const QByteArray title = dottedTitle().toUtf8();
    delete static_cast<ViewerInterface*>(face)->create(files, nullptr, title.constData());
    face->release();
}

QString QAStNodeTest::dottedTitle() const
{
    QString title = name();
    for (QAStData* up = parent(); up; up = up->parent())
        title = up->name() + QLatin1Char('.') + title;
    return title;
}

// The viewers that follow a running test read what the stream splitter
// writes while the program runs. A batch host has no windows: its viewers
// only tell that it follows the run, and the splitter still fills the files.
void QAStNodeTest::traceOnTheFly(QStringList& files)
{
    followOnTheFly(QStringLiteral("Tracer"), tr("Runtime Trace"), tdfFile(), QStringLiteral("TDF"),
                   QStringLiteral("TSF"),
                   {tr("Cannot view sequence diagram. \nNo tdf file generated."),
                    tr("Cannot view sequence diagram. \nNo tsf file generated.")},
                   files);
}

void QAStNodeTest::coverageOnTheFly(QStringList& files)
{
    followOnTheFly(QStringLiteral("Cvi"), tr("Coverage"), tioFile(), QStringLiteral("TIO"), QStringLiteral("FDC"),
                   {tr("Cannot view coverage information. \nNo fdc file generated."),
                    tr("Cannot view coverage information. \nNo tio file generated.")},
                   files);
}

bool QAStNodeTest::followOnTheFly(const QString& feature, const QString& caption, const QString& output,
                                  const QString& fallbackType, const QString& describedType,
                                  const QStringList& messages, QStringList& files)
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return false;
    if (!studio->viewerFeatureList().contains(feature)) {
        studio->messageBox(QMessageBox::Critical, caption, tr("Unable to load this viewer."));
        return false;
    }
    QStringList described;
    outFileNames(describedType, described);
    const QString absoluteOutput = determineAbsolutePathFile(output);
    if (!output.isEmpty() && QFileInfo::exists(absoluteOutput)) {
        warning("Removing %s", qPrintable(absoluteOutput));
        QFile::remove(absoluteOutput);
    }
    if (startOnTheFlySurvey())
        files << output;
    else
        outFileNames(fallbackType, files);
    determineAbsolutePathFiles(described);
    determineAbsolutePathFiles(files);
    if (described.isEmpty() || files.isEmpty()) {
        // The first message is for a program that was described, the second
        // for one that was not; the files they name are kept as users know them.
        studio->messageBox(QMessageBox::Critical, caption, described.isEmpty() ? messages.value(1) : messages.value(0));
        return false;
    }
    if (QAStProject::modeBatch())
        return false;
    // One window per viewer and node, reused by the next run.
    QPointer<QWidget>& window = _viewers[feature];
    QWidget* opened = studio->openViewer(feature, described + files, window);
    if (!opened) {
        studio->messageBox(QMessageBox::Critical, caption, tr("Unable to create this viewer."));
        return false;
    }
    opened->setWindowTitle(dottedTitle());
    window = opened;
    studio->showViewer(opened);
    return true;
}

bool QAStNodeTest::startOnTheFlySurvey()
{
    if (_splitSurvey)
        return true;
    const QAStConfiguration* configuration = currentConfiguration();
    if (!studioIFace() || !configuration)
        return false;
    const QString split = configuration->property(QStringLiteral("intdir")).toString() + QDir::separator() + name()
        + QStringLiteral(".spt");
    warning("split file is %s", qPrintable(split));
    const QString absoluteSplit = determineAbsolutePathFile(split);
    if (QFileInfo::exists(absoluteSplit)) {
        warning("Removing %s", qPrintable(absoluteSplit));
        QFile::remove(absoluteSplit);
    }
    if (!outFileNameContains(QStringLiteral("SPT")))
        addOutFileName(QStringLiteral("SPT"), split);
    // The first records may come before the tool chain made its directories:
    // the splitter would lose them.
    auto absolute = [this](const QString& path) {
        if (path.isEmpty())
            return path;
        const QString made = determineAbsolutePathFile(path);
        QDir().mkpath(QFileInfo(made).path());
        return made;
    };
    _splitSurvey = std::make_unique<QASTSplitSurvey>(absolute(outFileName(QStringLiteral("SPT"))), absolute(tioFile()),
                                                     absolute(tdfFile()), absolute(tpfFile()), absolute(tqfFile()));
    _splitSurvey->splitExistingLines();
    return true;
}

// The last records of a run may still wait for the next poll: they are taken
// before the splitter goes, so that nothing the program wrote is lost.
void QAStNodeTest::stopOnTheFlySurvey()
{
    if (_splitSurvey && _splitSurvey->fileSurvey())
        _splitSurvey->fileSurvey()->survey();
    if (_splitSurvey)
        _splitSurvey->closeOutputFile();
    _splitSurvey.reset();
    _javaSplitSurvey.reset();
}

// The memory profile of a Java run: the files its viewer follows, named by
// the settings or after the node, and the viewer itself when the run is
// watched as it goes.
void QAStNodeTest::memvexJava(QString* tsf, QString* tpf)
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    QUnknownInterface* face = nullptr;
    QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(QStringLiteral("Pvi"), IID_Viewer, &face);
    if (!face) {
        QAMessageBox::critical(mainWindow(), !QAStProject::modeBatch(), tr("Memory Profile"),
                               tr("Unable to load this viewer."), QMessageBox::Ok);
        return;
    }
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration) {
        face->release();
        return;
    }
    auto setting = [configuration](const char* key) {
        return configuration->property(QString::fromLatin1(key)).toString();
    };
    const QString intdir = setting("intdir") + QDir::separator();
    const QString split = intdir + name() + QStringLiteral(".jpt");
    QFile::remove(determineAbsolutePathFile(split));
    const QString tsfName = setting("javaTsfFileName");
    *tsf = determineAbsolutePathFile(intdir + (tsfName == QLatin1String("<default>") ? name() : tsfName)
                                     + QStringLiteral(".txf"));
    const QString tpfName = setting("javaTpfFileName");
    *tpf = tpfName == QLatin1String("<default>") ? tpfFile()
                                                 : determineAbsolutePathFile(intdir + tpfName + QStringLiteral(".tpf"));
    if (!configuration->property(QStringLiteral("javaHitKey")).toBool()) {
        face->release();
        return;
    }
    QStringList files {*tsf, *tpf, split};
    files += configuration->property(QStringLiteral("javaBootClasspath")).toStringList();
    files += configuration->property(QStringLiteral("javaClasspath")).toStringList();
    QWidget* window = viewers.value(QStringLiteral("Pvi"));
    if (!window) {
        const QByteArray title = dottedTitle().toUtf8();
        window = static_cast<ViewerInterface*>(face)->create(files, nullptr, title.constData());
    }
    face->release();
    if (!window) {
        QAMessageBox::critical(mainWindow(), !QAStProject::modeBatch(), tr("Memory Profile"),
                               tr("Unable to create this viewer."), QMessageBox::Ok);
        return;
    }
    window->setWindowTitle(dottedTitle());
    viewers.insert(QStringLiteral("Pvi"), window);
    studio->showViewer(window);
}

// ---------------------------------------------------------------------------
// What the user sees

bool QAStNodeTest::acceptDrop(QAStData* data) const
{
    if (!data || data->inherits("QAStNodeVirtualTester"))
        return false;
    return data->inherits("QAStNodeFileRef") || data->inherits("QAStNodeUser") || data->inherits("QAStNodeGroup");
}

QStringList QAStNodeTest::vcsItems()
{
    QStringList items;
    for (const char* type : {"TSF", "TXF", "TDF", "TPF", "TQF", "FDC", "TIO", "MET", "XRD", "CRC"})
        outFileNames(QString::fromLatin1(type), items);
    return items;
}

QMenu* QAStNodeTest::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("Add a New File..."), SLOT(addNewFile()));
    addNodeAction(this, menu, tr("Group..."), SLOT(addGroupNode()));
    addNodeAction(this, menu, tr("Files..."), SLOT(addFiles()));
    addNodeAction(this, menu, tr("Reference..."), SLOT(addLibraryReference()));
    addNodeAction(this, menu, tr("External command..."), SLOT(addUserNode()));
    return menu;
}

QMenu* QAStNodeTest::viewPopupMenu(QWidget* parent)
{
    QMenu* menu = QAStNodeContainer::viewPopupMenu(parent);
    const struct {
        const char* text;
        const char* viewer;
        const char* type;
    } rows[] = {{QT_TR_NOOP("Runtime Trace"), "Tracer", "TDF"}, {QT_TR_NOOP("Graphic"), "Rtx", "RTX"}};
    for (const auto& row : rows) {
        QAction* action = menu->addAction(tr(row.text));
        action->setData(getViewerIdByName(QString::fromLatin1(row.viewer)));
        QStringList files;
        outFileNames(QString::fromLatin1(row.type), files);
        action->setEnabled(!files.isEmpty());
    }
    return menu;
}

void QAStNodeTest::localActionMenuItems(QMenu* menu)
{
    if (!menu)
        return;
    QAStNodeContainer::localActionMenuItems(menu);
    addNodeAction(this, menu, tr("Stop %1").arg(name()), SLOT(stop()), "stop_xpm")->setEnabled(isRunning());
    menu->addSeparator();
}
