#include "qastnodesource.h"

#include "programnode_p.h"
#include "qapropertyattrcomboint.h"
#include "qapropertygroup.h"

#include <QDomElement>
#include <QTextStream>

namespace {
const int JavaLanguage = 8;
} // namespace

QAStNodeSource::QAStNodeSource(const QString& key, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(key, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeSource::QAStNodeSource(QAStFile* file, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(file, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeSource::QAStNodeSource(const QDomElement& element, int version, QAStData* parent,
                               QAStData* after)
    : QAStNodeFileRef(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStNodeSource::QAStNodeSource(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(resources, parent, after)
{
    initGlobal();
    init(resources);
}

void QAStNodeSource::initGlobal()
{
    setPerlScriptAfterChild(QStringLiteral("Source.pl"));
    showMode();
}

void QAStNodeSource::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "source"))
        return;
    const QDomElement integrated = element.firstChildElement().nextSiblingElement();
    if (integrated.tagName() == QLatin1String("integrated")) {
        _mode = xmlValueToBool(integrated.text()) ? Integrated : Instrumented;
        showMode();
    }
    initChildren(element.firstChildElement(QStringLiteral("source_child")), version,
                 {QStringLiteral("QAStNodeUser")});
}

void QAStNodeSource::init(QARes* resources)
{
    QAStAttribute<bool> integrated(false);
    readBoolVal(resources, "integrated", integrated);
    if (integrated.isSet) {
        _mode = integrated.get() ? Integrated : Instrumented;
        showMode();
    }
}

void QAStNodeSource::setMode(Mode mode)
{
    _mode = mode;
    showMode();
}

// A mode other than the two keeps whatever icon the node had.
void QAStNodeSource::showMode()
{
    if (_mode.get() == Instrumented)
        setIcon(pixmap(QStringLiteral("referencefile_xpm")));
    else if (_mode.get() == Integrated)
        setIcon(pixmap(QStringLiteral("integratedfile_xpm")));
}

unsigned int QAStNodeSource::settingsMask() const
{
    return 0x4000;
}

void QAStNodeSource::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    stream << "$CODE_INSERTION=" << (_mode.get() == Instrumented ? 1 : 0) << ";\n";
    writeObjectTestFiles(stream);
}

// The object-test information of the sibling test scripts: what the
// instrumentation of this source must know of the classes under test.
void QAStNodeSource::writeObjectTestFiles(QTextStream& stream)
{
    QAStData* up = parent();
    if (!up)
        return;
    const QList<QAStData*> scripts = up->childrenOfClass("QAStNodeTestScript", false);
    const bool objectTest = qstrcmp(up->metaObject()->className(), "QAStNodeObjectTesting") == 0;
    if (!objectTest && scripts.isEmpty())
        return;
    ProgramNode::writeObjectTestList(this, scripts, stream);
}

QAPropertyGroup* QAStNodeSource::propertyGroup()
{
    QAPropertyGroup* group = QAStNodeFileRef::propertyGroup();
    auto* integrated = new QAPropertyAttrComboInt(QStringLiteral("integrated"), &_mode);
    integrated->setName(tr("Instrumented"));
    integrated->insertItem(tr("Yes"), Instrumented);
    integrated->insertItem(tr("No"), Integrated);
    // A Java class is never compiled in two ways.
    integrated->setReadOnly(languageType() == JavaLanguage);
    group->addChild(integrated);
    return group;
}

void QAStNodeSource::propertyModified(QAProperty* property)
{
    if (!property || property->key() != QLatin1String("integrated")) {
        QAStNodeFileRef::propertyModified(property);
        return;
    }
    setMode(static_cast<Mode>(property->value().toInt()));
    modified = true;
}

// The two tags after the reference stand at the element's own indent: that
// is how the files have always been written.
void QAStNodeSource::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<source>\n";
    QAStNodeFileRef::write(stream, indent + 1);
    toStream(stream, "integrated", boolToXMLValue(integratedSource()), indent);
    indentXML(stream, indent);
    stream << "<source_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 1);
    indentXML(stream, indent);
    stream << "</source_child>\n";
    indentXML(stream, indent);
    stream << "</source>\n";
}
