#include "qastafunctiontag.h"

#include "qastapackagetag.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "studiointerface.h"

#include <QMenu>
#include <QTextStream>

QAStAFunctionTag::QAStAFunctionTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                                   QAStData* after)
    : QAStTestedTag(name, filePath, line, parent, after)
{
}

QAStAFunctionTag::QAStAFunctionTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
}

void QAStAFunctionTag::write(QTextStream& stream, int indent)
{
    writeFunction(stream, indent);
}

void QAStAFunctionTag::writeFunction(QTextStream& stream, int indent)
{
    writeWrapped<QAStTestedTag>(stream, indent, "function");
}

QString QAStAFunctionTag::qualifiedName() const
{
    if (!_qualifiedName.isEmpty())
        return _qualifiedName;
    return nameThroughAncestors(PackageScopes, QStringLiteral("."));
}

QString QAStAFunctionTag::qualifierIcon() const
{
    return QStringLiteral("function_xpm");
}

QStringList QAStAFunctionTag::stubbableFiles()
{
    QStringList paths = QAStTestedTag::stubbableFiles();
    if (QAStFile* owner = file())
        paths.removeAll(owner->absolutePath());
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [](const QString& path) { return QAStFile::fileType(path) == QAStFile::HeaderFiles; }),
                paths.end());
    return paths;
}

bool QAStAFunctionTag::isTestable() const
{
    return true;
}

bool QAStAFunctionTag::isDirectlyTestable() const
{
    // An Ada subprogram is tested through its package.
    const QAStFile* owner = file();
    return !owner || owner->fileType() != QAStFile::AdaFiles;
}

bool QAStAFunctionTag::isInstrumentable() const
{
    return true;
}

bool QAStAFunctionTag::isARootItem() const
{
    const QAStData* up = parent();
    return up && up->inherits("QAStFile");
}

QAStAFunctionTag* QAStAFunctionTag::counterpart(int bit) const
{
    if (_qualifier & bit)
        return const_cast<QAStAFunctionTag*>(this);
    auto* owner = qobject_cast<QAStProject*>(const_cast<QAStAFunctionTag*>(this)->project());
    if (!owner || !owner->rootFolder())
        return nullptr;
    const QString qualified = qualifiedName();
    for (QAStData* data : owner->rootFolder()->childrenOfClass("QAStAFunctionTag", true)) {
        auto* function = static_cast<QAStAFunctionTag*>(data);
        if (function->hasQualifier(bit) && function->qualifiedName() == qualified)
            return function;
    }
    return nullptr;
}

QAStAFunctionTag* QAStAFunctionTag::implementation() const
{
    return counterpart(Body);
}

QAStAFunctionTag* QAStAFunctionTag::declaration() const
{
    return counterpart(Declaration);
}

QAStAPackageTag* QAStAFunctionTag::ofPackage() const
{
    for (QAStData* up = parent(); up; up = up->parent()) {
        if (auto* package = qobject_cast<QAStAPackageTag*>(up))
            return package;
        if (!up->inherits("QAStAFunctionTag"))
            return nullptr;
    }
    return nullptr;
}

void QAStAFunctionTag::editImplementation()
{
    if (QAStAFunctionTag* body = implementation()) {
        body->edit();
    } else if (StudioInterface* studio = studioIFace()) {
        studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                           tr("%1\nUnable to find the implementation of the function ").arg(name()));
    }
}

void QAStAFunctionTag::editDeclaration()
{
    if (QAStAFunctionTag* prototype = declaration()) {
        prototype->edit();
    } else if (StudioInterface* studio = studioIFace()) {
        studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                           tr("%1\nUnable to find the declaration of the function").arg(name()));
    }
}

void QAStAFunctionTag::localActionMenuItems(QMenu* menu)
{
    connect(menu->addAction(tr("Goto &Declaration")), &QAction::triggered, this,
            &QAStAFunctionTag::editDeclaration);
    QAction* body = menu->addAction(tr("Goto &Implementation"));
    body->setEnabled(hasQualifier(Declaration));
    connect(body, &QAction::triggered, this, &QAStAFunctionTag::editImplementation);
}

QAPropertyGroup* QAStAFunctionTag::propertyGroup()
{
    QAPropertyGroup* group = QAStTestedTag::propertyGroup();
    const QAStFile* owner = file();
    if (!owner || owner->fileType() != QAStFile::AdaFiles) {
        auto* signature = new QAPropertyAttrLineEdit(QStringLiteral("signature"), &_signature);
        signature->setName(tr("Signature"));
        signature->setReadOnly(true);
        group->addChild(signature);
    }
    return group;
}
