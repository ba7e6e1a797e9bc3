#include "filechecknode.h"

#include <qastperlgen.h>

#include <QDomElement>
#include <QMenu>
#include <QTextStream>

FileCheckNode::FileCheckNode(const QString& name, QAStData* parent, QAStData* after)
    : QAStNode(name, QPixmap(), parent, after)
{
}

FileCheckNode::FileCheckNode(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStNode(element.firstChildElement(QStringLiteral("node")), version, parent, after)
{
    const QDomElement list = element.firstChildElement(QStringLiteral("file_list"));
    if (!list.isNull())
        _files = xmlValueToStringList(list.text());
}

void FileCheckNode::setFiles(const QStringList& files)
{
    _files = files;
    modified = true;
}

void FileCheckNode::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<file_check>\n";
    QAStNode::write(stream, indent + 1);
    toStream(stream, "file_list", stringListToXMLValue(_files), indent + 1);
    indentXML(stream, indent);
    stream << "</file_check>\n";
}

// After the library's lines and those of the blocks of settings: the files
// to check, each as it may stand between single quotes, macros expanded.
void FileCheckNode::generateEnv(QTextStream& stream)
{
    QAStNode::generateEnv(stream);
    QStringList quoted;
    for (const QString& file : std::as_const(_files))
        quoted << QLatin1Char('\'') + QAStPerlGen::safePath(file, this) + QLatin1Char('\'');
    stream << "@FILECHECK_FILES=(" << quoted.join(QLatin1String(", ")) << ");\n";
}

// The files change behind the project's back, and a check costs little: it
// runs at every build.
bool FileCheckNode::mustRebuilt()
{
    return true;
}

bool FileCheckNode::isNodeExecutable()
{
    return false;
}

void FileCheckNode::buildAfterChildren()
{
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        executionResult = ExecutionFailed;
        buildFinishEvent();
        abortBuildExecute();
        return;
    }
    generateEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &FileCheckNode::checkTerminated, Qt::UniqueConnection);
    executePerlScript(QStringLiteral("FileCheck.pl"), directory(), &stream, true, BuildConsole, nullptr);
}

// The status is the script's: 0 when every file passed, 1 otherwise. The
// run ends here, back in the directory it started from.
void FileCheckNode::checkTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &FileCheckNode::checkTerminated);
    buildFinishEvent();
    abortBuildExecute();
}

unsigned int FileCheckNode::settingsMask() const
{
    return 0x200; // a test node
}

QMenu* FileCheckNode::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    menu->addAction(tr("&Build"), this, &QAStNode::build);
    menu->addAction(tr("&Settings..."), this, &QAStNode::settings);
    menu->addAction(tr("Proper&ties"), this, &QAStData::properties);
    return menu;
}

QMenu* FileCheckNode::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* FileCheckNode::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* FileCheckNode::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void FileCheckNode::localActionMenuItems(QMenu*) {}

QStringList FileCheckNode::vcsItems()
{
    return _files;
}

void FileCheckNode::doubleClickAction()
{
    settings();
}
