#include "qastnodeunittesting.h"

#include "nodemenus_p.h"
#include "qafileutil.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastnodesource.h"
#include "qastnodetestscript.h"
#include "qastperlgen.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QTextStream>

namespace {

const int AdaLanguage = 4;
const int JavaLanguage = 8;
const int CoverageFlag = 0x200;

QStringList filters(std::initializer_list<int> types)
{
    QStringList all;
    for (int type : types)
        all += QAStFile::fileTypeFilter(type);
    return all;
}

// Single-quoted Perl paths, joined by \a separator.
QString perlPaths(const QStringList& paths, const QString& separator)
{
    QStringList quoted;
    for (const QString& path : paths)
        quoted << QLatin1Char('\'') + QAStPerlGen::perlQuoted(QAFileUtil::perlDirPath(path)) + QLatin1Char('\'');
    return quoted.join(separator);
}

QString upperSuffix(QAStData* data)
{
    auto* reference = qobject_cast<QAStNodeFileRef*>(data);
    return reference ? reference->fileType() : QString();
}

int keyFileType(QAStData* data)
{
    auto* reference = qobject_cast<QAStNodeFileRef*>(data);
    return reference ? QAStFile::fileType(QFileInfo(reference->fileKey()).fileName()) : -1;
}

// Runs a port preparation script before the children: its end goes to
// \a slot, which builds the children.
template<typename Node>
void preparePort(Node* node, const QString& script, const QString& sources, void (Node::*slot)())
{
    emit node->buildExecuteStarted();
    QTextStream stream;
    if (!node->createEnvironmentFile(stream)) {
        node->setExecutionStatus(QAStData::ExecutionFailed);
        node->abortBuildExecute();
        return;
    }
    node->generateEnv(stream);
    stream << sources;
    QObject::connect(node, &QAStData::perlScriptTerminated, node, slot, Qt::UniqueConnection);
    node->executePerlScript(script, node->directory(), &stream, true, QAStData::BuildConsole, nullptr);
}

// The port was made again: everything below must be built against it.
void forceAll(QAStNode* node)
{
    for (QAStData* child : node->childrenOfClass("QAStNode", true)) {
        if (QAStNode* below = QAStNode::toNode(child))
            below->setForceRebuild(true);
    }
}

} // namespace

// ---------------------------------------------------------------------------
// Component testing of C and Ada

QAStNodeUnitTesting::QAStNodeUnitTesting(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeTest(name, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeUnitTesting::QAStNodeUnitTesting(const QDomElement& element, int version, QAStData* parent,
                                         QAStData* after)
    : QAStNodeTest(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    CHECK_TAG(element, "unit_testing");
}

QAStNodeUnitTesting::QAStNodeUnitTesting(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTest(resources, parent, after)
{
    initGlobal();
}

void QAStNodeUnitTesting::initGlobal()
{
    setPerlScriptAfterChild(QStringLiteral("UnitTesting.pl"));
    setIcon(pixmap(QStringLiteral("unitest_xpm")));
}

unsigned int QAStNodeUnitTesting::settingsMask() const
{
    return 0x400;
}

void QAStNodeUnitTesting::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<unit_testing>\n";
    QAStNodeTest::write(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</unit_testing>\n";
}

QAStNode* QAStNodeUnitTesting::activeScript(const QAStData* other) const
{
    for (QAStData* data : childrenOfClass("QAStNodeUnitTestingScript", true)) {
        QAStNode* script = toNode(data);
        if (script && script != other && script->effectiveState() == Included)
            return script;
    }
    return nullptr;
}

void QAStNodeUnitTesting::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    if (auto* script = qobject_cast<QAStNodeFileRef*>(activeScript())) {
        stream << "$UNITTESTING_TESTSCRIPTNAME='"
               << QAStPerlGen::perlQuoted(QAFileUtil::perlDirPath(script->absolutePath())) << "';\n";
    }
    bool matlab = false;
    QStringList units;
    for (QAStData* data : childrenOfClass("QAStNodeSource", true)) {
        auto* source = qobject_cast<QAStNodeSource*>(data);
        if (!source)
            continue;
        matlab = matlab || keyFileType(source) == QAStFile::MatlabFiles;
        if (source->effectiveState() == Included)
            units << source->absolutePath();
    }
    stream << "$MATLAB=" << (matlab ? 1 : 0) << ";\n";
    // The units under test, named in the report of the run.
    stream << "@UNITTESTING_SOURCES=(" << perlPaths(units, QStringLiteral(",")) << ");\n";
}

bool QAStNodeUnitTesting::canAdd(QAStData* data) const
{
    if (!data || !data->inherits("QAStNodeUnitTestingScript"))
        return true;
    QAStNode* active = activeScript(data);
    if (!active)
        return true;
    StudioInterface* studio = studioIFace();
    const QString text = tr("There is already an active test script\nin your Unit Testing Node.\n"
                            "Do you want to replace it by the new one\n or add the new one and unactive the "
                            "current test script?");
    // Replace, Add, Cancel; a host without a user takes the default.
    const int answer = studio ? studio->messageBox(QMessageBox::Question, studio->applicationName(), text,
                                                   QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                                   QMessageBox::Yes)
                              : QMessageBox::Yes;
    if (answer == QMessageBox::Yes) {
        active->remove();
        active->deleteLater();
        return true;
    }
    if (answer == QMessageBox::No) {
        active->setState(Excluded);
        return true;
    }
    return false;
}

QStringList QAStNodeUnitTesting::fileFilters() const
{
    QStringList all;
    if (const QAStConfiguration* configuration = currentConfiguration())
        all += QAStFile::fileTypeFilter(configuration->languageType() == AdaLanguage ? 14 : 10);
    return all + filters({5, 16, 25, 26, 27});
}

// An Ada port is compiled for the node's Ada sources before they are.
void QAStNodeUnitTesting::buildFirstChild()
{
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration || configuration->languageType() != AdaLanguage) {
        QAStNode::buildFirstChild();
        return;
    }
    warning("Compiling Ada TDP...");
    QStringList sources;
    for (QAStData* data : childrenOfClass("QAStNodeSource", true)) {
        auto* source = qobject_cast<QAStNodeSource*>(data);
        if (source && source->languageType() == AdaLanguage)
            sources << source->fileKey();
    }
    preparePort(this, QStringLiteral("AdaTDP.pl"),
                QStringLiteral("@SOURCES=(") + perlPaths(sources, QStringLiteral(", ")) + QStringLiteral(");\n"),
                &QAStNodeUnitTesting::prepareAdaTDPTerminated);
}

void QAStNodeUnitTesting::prepareAdaTDPTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeUnitTesting::prepareAdaTDPTerminated);
    readLogFile();
    if (executionResult == ExecutionFailed || executionResult == ExecutionStopped) {
        abortBuildExecute();
        return;
    }
    forceAll(this);
    QAStNode::buildFirstChild();
}

// ---------------------------------------------------------------------------
// Component testing of C++

QAStNodeObjectTesting::QAStNodeObjectTesting(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeTest(name, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeObjectTesting::QAStNodeObjectTesting(const QDomElement& element, int version, QAStData* parent,
                                             QAStData* after)
    : QAStNodeTest(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    CHECK_TAG(element, "object_testing");
}

QAStNodeObjectTesting::QAStNodeObjectTesting(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTest(resources, parent, after)
{
    initGlobal();
}

void QAStNodeObjectTesting::initGlobal()
{
    setPerlScriptAfterChild(QStringLiteral("Klassor.pl"));
    setIcon(pixmap(QStringLiteral("klassor_xpm")));
}

unsigned int QAStNodeObjectTesting::settingsMask() const
{
    return 0x800;
}

void QAStNodeObjectTesting::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<object_testing>\n";
    QAStNodeTest::write(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</object_testing>\n";
}

void QAStNodeObjectTesting::addChild(QAStData* child, QAStData* after)
{
    if (!child || !child->inherits("QAStNodeFileRef")) {
        QAStNodeTest::addChild(child, after);
        return;
    }
    const QString extension = upperSuffix(child);
    if (after && after->inherits("QAStNodeTestScript") && extension == QLatin1String("OTC")
        && upperSuffix(after) != QLatin1String("OTC")) {
        // A class contract goes before every test script.
        after = nullptr;
    } else if (extension == QLatin1String("OTD")) {
        // A test script goes behind the last contract.
        QAStData* lastContract = nullptr;
        for (QAStData* script : childrenOfClass("QAStNodeTestScript", true)) {
            if (script == child)
                continue;
            if (upperSuffix(script) != QLatin1String("OTC"))
                break;
            lastContract = script;
        }
        if (lastContract)
            after = lastContract;
    } else if (child->inherits("QAStNodeSource")) {
        const int type = keyFileType(child);
        if ((type == QAStFile::CppFiles || type == QAStFile::HeaderFiles)
            && !(after && after->inherits("QAStNodeSource"))) {
            // Sources and headers come behind the scripts.
            QAStData* last = firstChild();
            while (last && last->next())
                last = last->next();
            after = last == child ? nullptr : last;
        }
    }
    QAStNodeTest::addChild(child, after);
}

QStringList QAStNodeObjectTesting::fileFilters() const
{
    return filters({12, 8, 9, 25, 26, 27});
}

// ---------------------------------------------------------------------------
// Java testing

QAStNodeJavaTesting::QAStNodeJavaTesting(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeTest(name, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeJavaTesting::QAStNodeJavaTesting(const QDomElement& element, int version, QAStData* parent,
                                         QAStData* after)
    : QAStNodeTest(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    CHECK_TAG(element, "java_testing");
}

QAStNodeJavaTesting::QAStNodeJavaTesting(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTest(resources, parent, after)
{
    initGlobal();
}

void QAStNodeJavaTesting::initGlobal()
{
    setPerlScriptAfterChild(QStringLiteral("JavaTesting.pl"));
    setIcon(pixmap(QStringLiteral("javatesting_xpm")));
}

unsigned int QAStNodeJavaTesting::settingsMask() const
{
    return 0x400000;
}

void QAStNodeJavaTesting::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<java_testing>\n";
    QAStNodeTest::write(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</java_testing>\n";
}

void QAStNodeJavaTesting::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    QStringList files;
    if (executionFlag() & CoverageFlag) {
        outFileNames(QStringLiteral("FDC"), files);
        stream << "@FDCFILES=(" << perlPaths(files, QStringLiteral(",")) << ");\n";
        files.clear();
    }
    outFileNames(QStringLiteral("TSF"), files);
    stream << "@TSFFILES=(" << perlPaths(files, QStringLiteral(",")) << ");\n";
}

void QAStNodeJavaTesting::buildFirstChild()
{
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration || configuration->languageType() != JavaLanguage) {
        QAStNode::buildFirstChild();
        return;
    }
    warning("Preparing Java TDP...");
    preparePort(this, QStringLiteral("TDPBatchJava.pl"), QString(), &QAStNodeJavaTesting::prepareJavaTDPTerminated);
}

void QAStNodeJavaTesting::prepareJavaTDPTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeJavaTesting::prepareJavaTDPTerminated);
    if (executionResult == ExecutionFailed || executionResult == ExecutionStopped) {
        abortBuildExecute();
        return;
    }
    forceAll(this);
    QAStNode::buildFirstChild();
}

QMenu* QAStNodeJavaTesting::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("Test Script..."), SLOT(addTestScriptFiles()));
    addNodeAction(this, menu, tr("Source Files..."), SLOT(addFiles()));
    addNodeAction(this, menu, tr("Reference..."), SLOT(addLibraryReference()));
    menu->addSeparator();
    addNodeAction(this, menu, tr("External command..."), SLOT(addUserNode()));
    return menu;
}

// The host's file dialog gives one file a time; each one becomes a script
// behind the one made before.
void QAStNodeJavaTesting::addTestScriptFiles()
{
    StudioInterface* studio = studioIFace();
    auto* owner = qobject_cast<QAStProject*>(project());
    if (!studio || !owner)
        return;
    const QString file = studio->getOpenFileName(tr("Add Files"), QDir::currentPath(),
                                                 fileFilters().join(QStringLiteral(";;")));
    if (file.isEmpty())
        return;
    QAStFolder* root = owner->rootFolder();
    QList<QAStFolder*> folders;
    if (root) {
        folders << root;
        for (QAStData* data : root->childrenOfClass("QAStFolder", true))
            folders << static_cast<QAStFolder*>(data);
    }
    const bool blocked = signalsBlocked();
    blockSignals(true);
    for (QAStFolder* folder : std::as_const(folders))
        folder->setAutomaticRefresh(false);
    const QString key = determineRelativePathFile(file);
    owner->addFile(key);
    QAStData* last = firstChild();
    while (last && last->next())
        last = last->next();
    new QAStNodeJavaTestingScript(key, this, last);
    blockSignals(blocked);
    emit updated();
    for (QAStFolder* folder : std::as_const(folders))
        folder->setAutomaticRefresh(true);
}

QStringList QAStNodeJavaTesting::fileFilters() const
{
    return filters({15, 27});
}
