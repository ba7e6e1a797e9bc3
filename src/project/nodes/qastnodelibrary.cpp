#include "qastnodelibrary.h"

#include "nodemenus_p.h"
#include "programnode_p.h"
#include "qafileutil.h"
#include "qastconfiguration.h"
#include "qastperlgen.h"

#include <QDir>
#include <QDomElement>
#include <QMenu>
#include <QTextStream>

QAStNodeLibrary::QAStNodeLibrary(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeContainer(name, pixmap(QStringLiteral("library_xpm")), parent, after)
{
    initGlobal();
}

QAStNodeLibrary::QAStNodeLibrary(const QDomElement& element, int version, QAStData* parent,
                                 QAStData* after)
    : QAStNodeContainer(element.firstChildElement(), version, parent, after)
{
    CHECK_TAG(element, "library");
    initGlobal();
}

QAStNodeLibrary::QAStNodeLibrary(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeContainer(resources, parent, after)
{
    initGlobal();
}

void QAStNodeLibrary::initGlobal()
{
    if (!iconName.isSet)
        setIcon(pixmap(QStringLiteral("library_xpm")));
    setPerlScriptAfterChild(QStringLiteral("Library.pl"));
}

void QAStNodeLibrary::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<library>\n";
    QAStNodeContainer::write(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</library>\n";
}

unsigned int QAStNodeLibrary::settingsMask() const
{
    return 0x200000;
}

QMenu* QAStNodeLibrary::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("Files..."), SLOT(addFiles()));
    addNodeAction(this, menu, tr("Library Reference..."), SLOT(addLibraryReference()));
    addNodeAction(this, menu, tr("External command..."), SLOT(addUserNode()));
    return menu;
}

void QAStNodeLibrary::localActionMenuItems(QMenu* menu)
{
    if (menu)
        addBuildActions(this, menu);
}

void QAStNodeLibrary::buildFirstChild()
{
    const ProgramNode::Preparation preparation = ProgramNode::preparationOf(this);
    if (preparation.script.isEmpty()) {
        QAStNodeContainer::buildFirstChild();
        return;
    }
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeLibrary::processingScriptTerminated,
            Qt::UniqueConnection);
    if (!ProgramNode::startPreparation(this, preparation)) {
        disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeLibrary::processingScriptTerminated);
        abortBuildExecute();
    }
}

void QAStNodeLibrary::processingScriptTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeLibrary::processingScriptTerminated);
    if (!ProgramNode::preparationSucceeded(this)) {
        abortBuildExecute();
        return;
    }
    QAStNodeContainer::buildFirstChild();
}

bool QAStNodeLibrary::mustRebuilt()
{
    return ProgramNode::alwaysRebuilt(this) || QAStNode::mustRebuilt();
}

QString QAStNodeLibrary::product()
{
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration)
        return QString();
    auto setting = [configuration](const char* key) {
        return configuration->property(QString::fromLatin1(key)).toString();
    };
    const QString format = setting("generationFormat");
    const QString extension = format == QLatin1String("DLL") ? setting("libraryDynamicExt")
        : format == QLatin1String("EXE")                      ? setting("binaryExt")
                                                              : setting("libraryStaticExt");
    QString name = setting("testProgram");
    if (name == QLatin1String("<default>")) {
        name = setting("intdir") + QDir::separator() + QAFileUtil::generateFilename(this->name());
        // A program of a port without an extension has none, not a bare dot.
        if (!extension.isEmpty())
            name += QLatin1Char('.') + extension;
    }
    return QAStPerlGen::safePath(name, this);
}

void QAStNodeLibrary::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    ProgramNode::writeProgramLists(this, stream);
    const QString name = product();
    if (name.isNull())
        return;
    // The script makes what the kind says; the name alone may not tell.
    stream << "$ZTL_GENERATION_FORMAT='"
           << QAStPerlGen::perlQuoted(currentConfiguration()->property(QStringLiteral("generationFormat")).toString())
           << "';\n";
    stream << "$TESTPROGRAM='" << determineRelativePathFile(name) << "';\n";
    stream << "$TESTPROGRAM_ABS='" << QAFileUtil::cleanDirPath(determineAbsolutePathFile(name)) << "';\n";
}

QStringList QAStNodeLibrary::fileFilters()
{
    return ProgramNode::fileFilters(this);
}
