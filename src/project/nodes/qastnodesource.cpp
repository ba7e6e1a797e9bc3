#include "qastnodesource.h"

#include "programnode_p.h"
#include "qapropertyattrcomboint.h"
#include "qapropertygroup.h"
#include "qastfile.h"

#include <QDir>
#include <QDomElement>
#include <QFile>
#include <QTextStream>

namespace {
const int JavaLanguage = 8;

// The prerequisites of the first rule of a make file as a compiler writes it
// ("target: first second \" and on): a blank inside a name comes as "\ ",
// a dollar as "$$".
QStringList prerequisites(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString text = QString::fromLocal8Bit(file.readAll());
    text.replace(QLatin1String("\\\n"), QLatin1String(" "));
    const qsizetype colon = text.indexOf(QLatin1String(": "));
    if (colon < 0)
        return {};
    const QString rule = text.mid(colon + 2).section(QLatin1Char('\n'), 0, 0);
    QStringList names;
    QString name;
    for (qsizetype i = 0; i <= rule.size(); ++i) {
        const QChar c = i < rule.size() ? rule.at(i) : QChar(QLatin1Char(' '));
        const QChar next = i + 1 < rule.size() ? rule.at(i + 1) : QChar();
        if ((c == QLatin1Char('\\') && next == QLatin1Char(' ')) || (c == QLatin1Char('$') && next == c)) {
            name += next;
            ++i;
        } else if (!c.isSpace()) {
            name += c;
        } else if (!name.isEmpty()) {
            names << name;
            name.clear();
        }
    }
    return names;
}

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

void QAStNodeSource::buildFinishEvent()
{
    QAStNodeFileRef::buildFinishEvent();
    if (executionStatus() == ExecutionSuccess)
        takeDependencies();
}

// A compile reports the headers it read as a make rule: they become the
// file's dependencies, from which the next build knows that the object is
// older than one of them. A rule that cannot be read leaves those known.
void QAStNodeSource::takeDependencies()
{
    QAStFile* source = file();
    const QString rule = outFileName(QStringLiteral("DEP"));
    if (!source || rule.isEmpty())
        return;
    const QStringList names = prerequisites(rule);
    if (names.isEmpty())
        return;
    const QString self = QDir::cleanPath(absolutePath());
    source->clearDependencies();
    for (const QString& name : names) {
        const QString path = QDir::cleanPath(determineAbsolutePathFile(name));
        if (path != self)
            source->addDependency(path);
    }
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
