#include "qapropertygroup.h"

#include "qastdata.h"

QAPropertyGroup::QAPropertyGroup(const QString& key) : QAProperty(key) {}

QAPropertyGroup::~QAPropertyGroup()
{
    // Cleared first so that a dying child does not remove itself from the
    // list being walked.
    const QList<QAProperty*> children = std::exchange(_children, {});
    for (QAProperty* child : children) {
        child->_parent = nullptr;
        delete child;
    }
}

bool QAPropertyGroup::isGroup() const
{
    return true;
}

QString QAPropertyGroup::displayValue()
{
    return QString();
}

bool QAPropertyGroup::isOverriden() const
{
    for (const QAProperty* child : _children) {
        if (child->isOverriden())
            return true;
    }
    return false;
}

bool QAPropertyGroup::isResetable() const
{
    return false;
}

void QAPropertyGroup::reset() {}

void QAPropertyGroup::setValue(const QVariant&) {}

QVariant QAPropertyGroup::value()
{
    return QVariant(0);
}

int QAPropertyGroup::type()
{
    return InvalidType;
}

QWidget* QAPropertyGroup::createEditor(QWidget*)
{
    return nullptr;
}

void QAPropertyGroup::addChild(QAProperty* child)
{
    if (!child || child->_parent == this)
        return;
    // A group taken under its own descendant would own itself.
    for (const QAProperty* up = this; up; up = up->_parent) {
        if (up == child)
            return;
    }
    if (child->_parent)
        child->_parent->removeChild(child);
    _children.append(child);
    child->_parent = this;
}

void QAPropertyGroup::removeChild(QAProperty* child)
{
    if (!child || child->_parent != this)
        return;
    _children.removeOne(child);
    child->_parent = nullptr;
}

int QAPropertyGroup::count() const
{
    return int(_children.size());
}

int QAPropertyGroup::nbGroup() const
{
    int groups = 0;
    for (const QAProperty* child : _children) {
        if (child->isGroup())
            ++groups;
    }
    return groups;
}

QAProperty* QAPropertyGroup::property(const QString& key) const
{
    for (QAProperty* child : _children) {
        if (child->key() == key)
            return child;
    }
    return nullptr;
}

QPixmap QAPropertyGroup::icon(bool opened) const
{
    return QAStData::pixmap(opened ? QStringLiteral("folderopened_xpm")
                                   : QStringLiteral("folderclosed_xpm"));
}
