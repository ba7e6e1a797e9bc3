#include "qastatag.h"

#include "qastfile.h"
#include "qastproject.h"
#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "qaresgroup.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDomElement>
#include <QMenu>
#include <QMetaMethod>
#include <QTextStream>

namespace {

QAStATag::TestLauncher& testLauncher()
{
    static QAStATag::TestLauncher launcher;
    return launcher;
}

} // namespace

QAStATag::QAStATag(const QString& name, const QString& filePath, int line, QAStData* parent, QAStData* after)
    : QAStData(name, QPixmap(), parent, after)
{
    Q_UNUSED(filePath); // the path is the file's: a tag asks its file
    initGlobal();
    _line = line;
}

QAStATag::QAStATag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStData(dataElement(element), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStATag::QAStATag(QARes* resources, QAStData* parent, QAStData* after)
    : QAStData(resources, parent, after)
{
    initGlobal();
    init(resources);
}

void QAStATag::initGlobal()
{
    // The tag pass owns tags: the user neither renames nor deletes them.
    renameable = false;
    deletable = false;
    duplicable = false;
}

QPixmap QAStATag::icon() const
{
    return _iconChosen ? QAStData::icon() : pixmap(qualifierIcon());
}

void QAStATag::setIcon(const QPixmap& icon)
{
    _iconChosen = true;
    QAStData::setIcon(icon);
}

QString QAStATag::qualifierIcon() const
{
    return QStringLiteral("script_tag_xpm");
}

QString QAStATag::iconByAccess(const QString& isPrivate, const QString& isProtected, const QString& other) const
{
    if (_qualifier & Private)
        return isPrivate;
    return _qualifier & Protected ? isProtected : other;
}

QDomElement QAStATag::dataElement(const QDomElement& element)
{
    QDomElement e = element;
    while (!e.isNull() && e.tagName() != QLatin1String("data"))
        e = e.firstChildElement();
    return e;
}

QDomElement QAStATag::tagElement(const QDomElement& element)
{
    QDomElement e = element;
    while (!e.isNull() && e.tagName() != QLatin1String("tag"))
        e = e.firstChildElement();
    return e;
}

void QAStATag::init(const QDomElement& element, int version)
{
    const QDomElement tag = tagElement(element);
    if (!CHECK_TAG(tag, "tag"))
        return;
    _line = xmlValueToInt(tag.firstChildElement(QStringLiteral("line")).text());
    const QString signature = xmlValueToString(tag.firstChildElement(QStringLiteral("signature")).text());
    if (!signature.isEmpty())
        _signature = signature;
    // The virtual call reaches this class only; each derived class sets the
    // qualifier again for its own icon.
    QAStATag::setQualifier(xmlValueToInt(tag.firstChildElement(QStringLiteral("qualifier")).text()));
    initChildren(tag.firstChildElement(QStringLiteral("tag_child")), version, {QStringLiteral("QAStATag")});
}

void QAStATag::init(QARes* resources)
{
    QAStAttribute<int> line;
    QAStAttribute<int> qualifier;
    readIntVal(resources, "line", line);
    readIntVal(resources, "qualifier", qualifier);
    readStrVal(resources, "signature", _signature);
    _line = line.get();
    _qualifier = qualifier.get();
}

void QAStATag::write(QTextStream& stream, int indent)
{
    writeTag(stream, indent);
}

void QAStATag::writeTag(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<tag>\n";
    QAStData::write(stream, indent + 1);
    toStream(stream, "filepath", stringToXMLValue(absolutePath()), indent + 1);
    toStream(stream, "line", intToXMLValue(_line), indent + 1);
    toStream(stream, "qualifier", intToXMLValue(_qualifier), indent + 1);
    toStream(stream, "signature", stringToXMLValue(_signature.get()), indent + 1);
    indentXML(stream, indent + 1);
    stream << "<tag_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</tag_child>\n";
    indentXML(stream, indent);
    stream << "</tag>\n";
}

// ---------------------------------------------------------------------------
// Names

QString QAStATag::displayName() const
{
    return name() + _signature.get();
}

QString QAStATag::nameThroughAncestors(int scopes, const QString& separator) const
{
    // Asked for every tag a pass makes: the casts compare meta-objects,
    // where inherits() would compare class names.
    QString qualified = name();
    for (QAStData* up = parent(); qobject_cast<QAStATag*>(up) && !qobject_cast<QAStFile*>(up); up = up->parent()) {
        const bool counts = scopes == AnyScope || ((scopes & PackageScopes) && up->inherits("QAStAPackageTag"))
                            || ((scopes & ClassScopes) && up->inherits("QAStAClassTag"));
        if (counts)
            qualified = up->name() + separator + qualified;
    }
    return qualified;
}

QString QAStATag::qualifiedName() const
{
    if (!_qualifiedName.isEmpty())
        return _qualifiedName;
    return nameThroughAncestors(AnyScope, QStringLiteral("::"));
}

void QAStATag::setQualifiedName(const QString& name)
{
    _qualifiedName = name;
}

QString QAStATag::signature() const
{
    return _signature.get();
}

void QAStATag::setSignature(const QString& signature)
{
    _signature = signature;
}

void QAStATag::setQualifier(int qualifier)
{
    _qualifier = qualifier;
    if (_iconChosen)
        return;
    // Only a view that shows the tag listens; a tag being made has none.
    static const QMetaMethod changed = QMetaMethod::fromSignal(&QAStData::iconChanged);
    if (isSignalConnected(changed))
        emit iconChanged(icon());
}

QString QAStATag::fileKey() const
{
    const QAStFile* owner = file();
    return owner ? owner->fileKey() : QString();
}

QString QAStATag::absolutePath() const
{
    const QAStFile* owner = file();
    return owner ? owner->absolutePath() : QString();
}

QAStFile* QAStATag::file() const
{
    for (QAStData* up = const_cast<QAStATag*>(this); up; up = up->parent()) {
        if (auto* found = qobject_cast<QAStFile*>(up))
            return found;
    }
    return nullptr;
}

int QAStATag::language() const
{
    const QAStFile* owner = file();
    return owner ? owner->fileLanguage() : 0;
}

QList<QAStATag*> QAStATag::children() const
{
    QList<QAStATag*> tags;
    for (QAStData* data : childrenOfClass("QAStATag", true))
        tags.append(static_cast<QAStATag*>(data));
    return tags;
}

// ---------------------------------------------------------------------------
// Testing

bool QAStATag::isTestable() const
{
    return false;
}

bool QAStATag::isDirectlyTestable() const
{
    return false;
}

bool QAStATag::isInstrumentable() const
{
    return false;
}

bool QAStATag::isARootItem() const
{
    const QAStData* up = parent();
    return (up && up->inherits("QAStFile")) || hasQualifier(Interface);
}

QAStATag* QAStATag::directlyTestableParent()
{
    for (QAStData* up = parent(); up && up->inherits("QAStATag"); up = up->parent()) {
        auto* tag = static_cast<QAStATag*>(up);
        if (tag->isDirectlyTestable())
            return tag;
    }
    return nullptr;
}

void QAStATag::setTestLauncher(const TestLauncher& launcher)
{
    testLauncher() = launcher;
}

bool QAStATag::ask(const QString& text)
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return false;
    return studio->messageBox(QMessageBox::Question, studio->applicationName(), text,
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes)
        == QMessageBox::Yes;
}

void QAStATag::test()
{
    auto* owner = qobject_cast<QAStProject*>(const_cast<QAStATag*>(this)->project());
    if (!owner) {
        warning("QAStTestedTag::test No Project Found");
        return;
    }
    if (!owner->currentConfiguration()) {
        warning("QAStTestedTag::test No Current Configuration Found");
        return;
    }
    const auto open = [](QAStATag* target) {
        if (testLauncher())
            testLauncher()(target);
    };
    if (isDirectlyTestable()) {
        open(this);
        return;
    }
    if (QAStATag* testable = directlyTestableParent()) {
        if (ask(tr("%1\n\nThe test script will be generated for its parent: %2.\nDo you want to continue?")
                    .arg(name(), testable->name())))
            open(testable);
        return;
    }
    QAStFile* owningFile = file();
    if (!owningFile) {
        if (StudioInterface* studio = studioIFace())
            studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                               tr("%1\n\nUnable to find a testable parent component for this method.").arg(name()));
        return;
    }
    if (ask(tr("%1\n\nThe test script will be generated for its file: %2.\nDo you want to continue?")
                .arg(name(), owningFile->name())))
        open(owningFile);
}

QStringList QAStATag::stubbableFiles()
{
    const int lang = language();
    QAStFile* owningFile = file();
    QAStData* owner = project();
    if (lang == 8 || lang == 4 || !owningFile || !owner)
        return {};
    auto* document = qobject_cast<QAStProject*>(owner);
    QStringList paths;
    const auto add = [&](const QString& path) {
        const QString absolute = owner->determineAbsolutePathFile(path);
        if (!paths.contains(absolute))
            paths.append(absolute);
    };
    const auto addDependenciesOf = [&](const QString& path) {
        if (QAStFile* known = document ? document->file(path) : nullptr) {
            for (const QString& dependency : known->dependencies())
                add(dependency);
        }
    };
    for (const QString& dependency : owningFile->dependencies())
        add(dependency);
    for (const QString& source : owningFile->sourceFiles())
        addDependenciesOf(source);
    for (const QString& header : owningFile->headerFiles()) {
        add(header);
        QAStFile* named = document ? document->file(header) : nullptr;
        if (!named)
            continue;
        for (const QString& path : named->sourceFiles() + named->headerFiles()) {
            add(path);
            addDependenciesOf(path);
        }
    }
    return paths;
}

// ---------------------------------------------------------------------------
// What the user sees

QAPropertyGroup* QAStATag::propertyGroup()
{
    return QAStData::propertyGroup();
}

void QAStATag::edit()
{
    editFile(absolutePath(), _line);
}

void QAStATag::doubleClickAction()
{
    edit();
}

void QAStATag::paste() {}

void QAStATag::drop(QDropEvent*) {}

QMenu* QAStATag::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    connect(menu->addAction(tr("Goto &Reference")), &QAction::triggered, this, &QAStATag::edit);
    localActionMenuItems(menu);
    connect(menu->addAction(tr("Sort Alphabetically")), &QAction::triggered, this, &QAStData::sortChildren);
    connect(menu->addAction(tr("Proper&ties")), &QAction::triggered, this, &QAStData::properties);
    connect(menu->addAction(tr("Test...")), &QAction::triggered, this, &QAStATag::test);
    return menu;
}

void QAStATag::localActionMenuItems(QMenu*) {}

QMenu* QAStATag::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStATag::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStATag::viewPopupMenu(QWidget*)
{
    return nullptr;
}

QStringList QAStATag::vcsItems()
{
    return {};
}
