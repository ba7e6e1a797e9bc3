#include "qastfile.h"

#include "qaresgroup.h"
#include "qaresstring.h"
#include "qastprojectpref.h"
#include "qatrace.h"

#include <QDir>
#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QRegExp>
#include <QTextStream>

namespace {

struct TypePatterns {
    int type;
    const char* patterns;
};

// The kinds in the order a name is tried against them: reports and scripts
// before sources, so that "*.tsf" is always a trace and "*.c" never C++.
const QList<TypePatterns>& typeOrder()
{
    static const QList<TypePatterns> order {
        {QAStFile::TestReports, "*.xrd"},
        {QAStFile::CAdaTestScripts, "*.ptu"},
        {QAStFile::SystemTestingScripts, "*.pts"},
        {QAStFile::SupervisionScripts, "*.spv"},
        {QAStFile::CppTestScripts, "*.otd;*.otc;*.dcl;*.stb"},
        {QAStFile::AllTestScripts, "*.otd;*.otc;*.dcl;*.stb;*.ptu;*.pts"},
        {QAStFile::TraceResults, "*.tsf;*.tdf"},
        {QAStFile::CoverageResults, "*.fdc;*.tio"},
        {QAStFile::MemoryResults, "*.tsf;*.txf;*.tpf"},
        {QAStFile::PerformanceResults, "*.tsf;*.tqf"},
        {QAStFile::GraphicFiles, "*.vmx"},
        {QAStFile::RuntimeResults, "*.spt"},
        {QAStFile::Project, "*.vmp"},
        {QAStFile::VisualStudioProject, "*.dsp"},
        {QAStFile::Workspace, "*.vmw"},
        {QAStFile::CFiles, "*.c"},
        {QAStFile::CppFiles, "*.cpp;*.cxx;*.cc;*.CC;*.C;*.c"},
        {QAStFile::JavaFiles, "*.java"},
        {QAStFile::MatlabFiles, "*.mat;*.mdl"},
        {QAStFile::AdaFiles, "*.ada;*.adb;*.ads"},
        {QAStFile::HeaderFiles, "*.h;*.hh;*.hpp;*.hxx;*.H"},
        {QAStFile::Makefiles, "Makefile*;makefile*;*.mak;*.mk"},
        {QAStFile::SupervisionScripts2, "*.spv"},
        {QAStFile::DataFiles, "*.csv"},
    };
    return order;
}

bool matchesOneOf(const QString& name, const QString& patterns)
{
    for (const QString& pattern : patterns.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        QRegExp expression(pattern, Qt::CaseSensitive, QRegExp::Wildcard);
        if (expression.exactMatch(name))
            return true;
    }
    return false;
}

} // namespace

QAStFile::QAStFile(const QString& key, QAStData* parent, QAStData* after)
    : QAStData(QFileInfo(key).fileName(), QPixmap(), parent, after)
{
    initGlobal();
    changeFileKey(determineRelativePathFile(key));
}

// The data element stands three wrappers deep: file, tested tag, tag.
QAStFile::QAStFile(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStData(element.firstChild().firstChild().firstChild().toElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

void QAStFile::initGlobal()
{
    // A file takes its name from its key; the user renames the file, not the item.
    renameable = false;
}

void QAStFile::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "file"))
        return;
    const QDomElement tag = element.firstChild().firstChild().toElement();
    const QDomElement qualifier = tag.firstChildElement(QStringLiteral("qualifier"));
    if (!qualifier.isNull())
        _qualifier = xmlValueToInt(qualifier.text());
    QString key = xmlValueToString(element.firstChildElement(QStringLiteral("filepath")).text());
    key.replace(QLatin1Char('\\'), QLatin1Char('/'));
    _fileKey = key;
    _lastFileKey = key;
    if (QFileInfo(key).isAbsolute()) {
        _fullPath = key;
        _fileKey = determineRelativePathFile(key);
    } else {
        _fullPath = determineAbsolutePathFile(key);
    }
    _timeStamp = QDateTime::fromString(
        xmlValueToString(element.firstChildElement(QStringLiteral("last_modification")).text()), Qt::ISODate);
    const QDomElement dependencies = element.firstChildElement(QStringLiteral("dependencies"));
    for (const QString& dependency : xmlValueToStringList(dependencies.text()))
        addDependency(dependency);
}

QAStFile::QAStFile(QARes* resources, QAStData* parent, QAStData* after)
    : QAStData(resources, parent, after)
{
    initGlobal();
    init(resources);
}

void QAStFile::init(QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group || !group->child())
        return;
    QAStAttribute<QString> key;
    readStrVal(resources, "key", key);
    QString path = key.get();
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    _fileKey = path;
    _lastFileKey = path;
    if (QFileInfo(path).isAbsolute()) {
        _fullPath = path;
        _fileKey = determineRelativePathFile(path);
    } else {
        _fullPath = determineAbsolutePathFile(path);
    }
    // Older files may name a file by its key alone.
    if (name().isEmpty())
        nameAttribute() = QFileInfo(path).fileName();
    if (QARes* dependencies = group->child()->search("dependencies"); dependencies && dependencies->toResGroup()) {
        for (QARes* item = dependencies->toResGroup()->child(); item; item = item->next()) {
            if (QAResString* dependency = item->toResString())
                addDependency(dependency->value());
        }
    }
}

void QAStFile::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<file>\n";
    indentXML(stream, indent + 1);
    stream << "<tested_tag>\n";
    indentXML(stream, indent + 2);
    stream << "<tag>\n";
    QAStData::write(stream, indent + 3);
    toStream(stream, "filepath", stringToXMLValue(_fullPath), indent + 3);
    toStream(stream, "line", intToXMLValue(0), indent + 3);
    toStream(stream, "qualifier", intToXMLValue(_qualifier), indent + 3);
    toStream(stream, "signature", stringToXMLValue(QString()), indent + 3);
    indentXML(stream, indent + 3);
    stream << "<tag_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 4);
    indentXML(stream, indent + 3);
    stream << "</tag_child>\n";
    indentXML(stream, indent + 2);
    stream << "</tag>\n";
    indentXML(stream, indent + 1);
    stream << "</tested_tag>\n";
    toStream(stream, "filepath", stringToXMLValue(_fileKey.get()), indent + 1);
    toStream(stream, "last_modification", stringToXMLValue(_timeStamp.toString(Qt::ISODate)), indent + 1);
    if (!_dependencies.isEmpty())
        toStream(stream, "dependencies", stringListToXMLValue(_dependencies), indent + 1);
    indentXML(stream, indent);
    stream << "</file>\n";
}

void QAStFile::changeFileKey(const QString& key)
{
    _fileKey = key;
    _fullPath = determineAbsolutePathFile(key);
    _lastFileKey = key;
    renameable = true;
    setName(QFileInfo(key).fileName());
    renameable = false;
    _timeStamp = QDateTime();
}

bool QAStFile::needUpdate() const
{
    const QDateTime modifiedAt = QFileInfo(_fullPath).lastModified();
    return _timeStamp.isNull() || _timeStamp < modifiedAt;
}

void QAStFile::setTimeStamp()
{
    const QDateTime modifiedAt = QFileInfo(_fullPath).lastModified();
    _timeStamp = modifiedAt.isValid() ? modifiedAt : QDateTime();
}

void QAStFile::addDependency(const QString& path)
{
    QString key = QDir::cleanPath(QDir::fromNativeSeparators(path));
    key.replace(QLatin1Char('\\'), QLatin1Char('/'));
    key = determineRelativePathFile(key);
    if (!_dependencies.contains(key))
        _dependencies.append(key);
}

int QAStFile::fileType(const QString& name)
{
    const QString fileName = QFileInfo(name).fileName();
    for (const TypePatterns& entry : typeOrder()) {
        if (matchesOneOf(fileName, QString::fromLatin1(entry.patterns)))
            return entry.type;
    }
    if (QAStProjectPref* preferences = QAStData::preferences()) {
        // The user's own kinds: label to ";"-separated patterns.
        const QMap<QString, QString> userTypes
            = xmlValueToStringMap(preferences->value(QStringLiteral("fileTypes")).toString());
        for (const QString& patterns : userTypes) {
            if (matchesOneOf(fileName, patterns))
                return UserFiles;
        }
    }
    return AllFiles;
}

int QAStFile::languageType(const QString& name)
{
    switch (fileType(name)) {
    case CFiles:
        return 1;
    case CppFiles:
        return 2;
    case AdaFiles:
        return 4;
    case JavaFiles:
        return 8;
    default:
        return 0;
    }
}

bool QAStFile::isEqualKeys(const QString& a, const QString& b)
{
    return QDir::cleanPath(a) == QDir::cleanPath(b);
}

// ---------------------------------------------------------------------------
// What the user sees. The file's own commands arrive with its analysis.

QMenu* QAStFile::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    localActionMenuItems(menu);
    connect(menu->addAction(tr("Proper&ties")), &QAction::triggered, this, &QAStData::properties);
    return menu;
}

QMenu* QAStFile::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStFile::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStFile::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void QAStFile::localActionMenuItems(QMenu* menu)
{
    connect(menu->addAction(tr("&Edit")), &QAction::triggered, this, &QAStFile::doubleClickAction);
}

QStringList QAStFile::vcsItems()
{
    return QStringList(_fullPath);
}

void QAStFile::doubleClickAction()
{
    editFile(_fullPath, 0);
}
