#include "qastfile.h"

#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "qaresgroup.h"
#include "qaresstring.h"
#include "qastaclasstag.h"
#include "qastafunctiontag.h"
#include "qastapackagetag.h"
#include "qastastructtag.h"
#include "qastperlgen.h"
#include "qastprojectpref.h"
#include "qasttagreader.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomElement>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMenu>
#include <QRegExp>
#include <QTextStream>

#include <sys/stat.h>

namespace {

struct TypeFilter {
    const char* label;
    const char* patterns;
};

// Label and patterns of each kind, by number. Workspaces are recognised by
// their own pattern but offered as projects; runtime results as any file.
const TypeFilter typeFilters[] = {
    {QT_TRANSLATE_NOOP("QAStFile", "Project"), "*.vmp"},
    {QT_TRANSLATE_NOOP("QAStFile", "Microsoft Visual Studio Project"), "*.dsp"},
    {QT_TRANSLATE_NOOP("QAStFile", "Workspace"), "*.vmw"},
    {QT_TRANSLATE_NOOP("QAStFile", "All Test Scripts"), "*.otd;*.otc;*.dcl;*.stb;*.ptu;*.pts"},
    {QT_TRANSLATE_NOOP("QAStFile", "Test Reports"), "*.xrd"},
    {QT_TRANSLATE_NOOP("QAStFile", "C and Ada Test Scripts"), "*.ptu"},
    {QT_TRANSLATE_NOOP("QAStFile", "System Testing Scripts"), "*.pts"},
    {QT_TRANSLATE_NOOP("QAStFile", "System Testing Supervision Scripts"), "*.spv"},
    {QT_TRANSLATE_NOOP("QAStFile", "C++ Test Scripts"), "*.otd;*.otc;*.dcl;*.stb"},
    {QT_TRANSLATE_NOOP("QAStFile", "Header Files"), "*.h;*.hh;*.hpp;*.hxx;*.H"},
    {QT_TRANSLATE_NOOP("QAStFile", "All C Files"), "*.c"},
    {QT_TRANSLATE_NOOP("QAStFile", "All C and Header Files"), "*.c;*.h;*.hh;*.hpp;*.hxx;*.H"},
    {QT_TRANSLATE_NOOP("QAStFile", "All C++ Files"), "*.cpp;*.cxx;*.cc;*.CC;*.C;*.c"},
    {QT_TRANSLATE_NOOP("QAStFile", "All C++ and Header Files"),
     "*.cpp;*.cxx;*.cc;*.CC;*.C;*.c;*.h;*.hh;*.hpp;*.hxx;*.H"},
    {QT_TRANSLATE_NOOP("QAStFile", "All Ada Files"), "*.ada;*.adb;*.ads"},
    {QT_TRANSLATE_NOOP("QAStFile", "All Java Files"), "*.java"},
    {QT_TRANSLATE_NOOP("QAStFile", "Matlab Files"), "*.mat;*.mdl"},
    {QT_TRANSLATE_NOOP("QAStFile", "Makefile"), "Makefile*;makefile*;*.mak;*.mk"},
    {QT_TRANSLATE_NOOP("QAStFile", "System Testing Supervision Scripts"), "*.spv"},
    {QT_TRANSLATE_NOOP("QAStFile", "Runtime Tracing Results"), "*.tsf;*.tdf"},
    {QT_TRANSLATE_NOOP("QAStFile", "Code Coverage Results"), "*.fdc;*.tio"},
    {QT_TRANSLATE_NOOP("QAStFile", "Memory Profiling Results"), "*.tsf;*.txf;*.tpf"},
    {QT_TRANSLATE_NOOP("QAStFile", "Performance Profiling Results"), "*.tsf;*.tqf"},
    {QT_TRANSLATE_NOOP("QAStFile", "Graphic Files"), "*.vmx"},
    {QT_TRANSLATE_NOOP("QAStFile", "Runtime Analysis Results"), "*.spt"},
    {QT_TRANSLATE_NOOP("QAStFile", "Data Files"), "*.csv"},
    {nullptr, nullptr},
    {QT_TRANSLATE_NOOP("QAStFile", "All Files"), "*"},
};

// The kinds in the order a name is tried against them: reports and scripts
// before sources, so that "*.tsf" is always a trace and "*.c" never C++.
constexpr int typeOrder[] = {
    QAStFile::TestReports, QAStFile::CAdaTestScripts, QAStFile::SystemTestingScripts,
    QAStFile::SupervisionScripts, QAStFile::CppTestScripts, QAStFile::AllTestScripts,
    QAStFile::TraceResults, QAStFile::CoverageResults, QAStFile::MemoryResults,
    QAStFile::PerformanceResults, QAStFile::GraphicFiles, QAStFile::RuntimeResults,
    QAStFile::Project, QAStFile::VisualStudioProject, QAStFile::Workspace, QAStFile::CFiles,
    QAStFile::CppFiles, QAStFile::JavaFiles, QAStFile::MatlabFiles, QAStFile::AdaFiles,
    QAStFile::HeaderFiles, QAStFile::AllTestScripts, QAStFile::Makefiles,
    QAStFile::SupervisionScripts2, QAStFile::DataFiles,
};

// The place in typeOrder of the first kind whose built-in patterns take
// \a fileName, or -1. Every built-in pattern is "*.suffix" or "prefix*":
// one look-up of the suffix and a few prefixes stand for trying each kind's
// patterns in turn, which cost the tag pass as much as the file it made.
int builtInPlace(const QString& fileName)
{
    struct Table {
        QHash<QString, int> suffixes;
        QList<std::pair<QString, int>> prefixes;
    };
    static const Table table = [] {
        Table made;
        for (int place = 0; place < int(std::size(typeOrder)); ++place) {
            const QString patterns = QString::fromLatin1(typeFilters[typeOrder[place]].patterns);
            for (const QString& pattern : patterns.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
                // The places come in order: a suffix keeps the first kind that claims it.
                if (pattern.startsWith(QLatin1String("*.")) && !made.suffixes.contains(pattern.mid(2)))
                    made.suffixes.insert(pattern.mid(2), place);
                else if (pattern.endsWith(QLatin1Char('*')) && pattern.size() > 1)
                    made.prefixes.append({pattern.chopped(1), place});
            }
        }
        return made;
    }();
    int best = -1;
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        best = table.suffixes.value(fileName.mid(dot + 1), -1);
    for (const auto& [prefix, place] : table.prefixes) {
        if ((best < 0 || place < best) && fileName.startsWith(prefix))
            best = place;
    }
    return best;
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

QMap<QString, QString> userFileTypes()
{
    QAStProjectPref* preferences = QAStData::preferences();
    if (!preferences)
        return {};
    return QAStData::xmlValueToStringMap(preferences->value(QStringLiteral("fileTypes")).toString());
}

template<typename T>
QList<T*> tagsOf(const QAStData* from, const char* className, bool recursive, int bits = 0)
{
    QList<T*> found;
    for (QAStData* data : from->childrenOfClass(className, recursive)) {
        auto* tag = static_cast<QAStATag*>(data);
        if (bits == 0 || tag->hasQualifier(bits))
            found.append(static_cast<T*>(tag));
    }
    return found;
}

} // namespace

bool QAStFile::_tagStopped = false;

QAStFile::QAStFile(const QString& key, QAStData* parent, QAStData* after)
    : QAStTestedTag(QFileInfo(key).fileName(), key, 0, parent, after)
{
    initGlobal();
    changeFileKey(determineRelativePathFile(key));
}

QAStFile::QAStFile(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStFile::QAStFile(QARes* resources, QAStData* parent, QAStData* after)
    : QAStTestedTag(resources, parent, after)
{
    initGlobal();
    init(resources);
}

QAStFile::~QAStFile() = default;

void QAStFile::initGlobal()
{
    // A file takes its name from its key; the user renames the file, not the
    // item. Unlike its tags, the user may remove it from the tree.
    renameable = false;
    deletable = true;
}

void QAStFile::takeKey(QString key)
{
    key.replace(QLatin1Char('\\'), QLatin1Char('/'));
    _fileKey = key;
    _language = languageType(key);
    _lastFileKey = key;
    if (QFileInfo(key).isAbsolute()) {
        _fullPath = key;
        _fileKey = determineRelativePathFile(key);
    } else {
        _fullPath = determineAbsolutePathFile(key);
    }
}

void QAStFile::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "file"))
        return;
    takeKey(xmlValueToString(element.firstChildElement(QStringLiteral("filepath")).text()));
    _timeStamp = QDateTime::fromString(
                     xmlValueToString(element.firstChildElement(QStringLiteral("last_modification")).text()),
                     Qt::ISODate)
                     .toUTC();
    const QDomElement dependencies = element.firstChildElement(QStringLiteral("dependencies"));
    for (const QString& dependency : xmlValueToStringList(dependencies.text()))
        addDependency(dependency);
}

void QAStFile::init(QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group || !group->child())
        return;
    QAStAttribute<QString> key;
    readStrVal(resources, "key", key);
    takeKey(key.get());
    // Older files may name a file by its key alone.
    if (name().isEmpty())
        nameAttribute() = QFileInfo(key.get()).fileName();
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
    QAStTestedTag::write(stream, indent + 1);
    toStream(stream, "filepath", stringToXMLValue(_fileKey.get()), indent + 1);
    toStream(stream, "last_modification", stringToXMLValue(_timeStamp.toLocalTime().toString(Qt::ISODate)), indent + 1);
    if (!_dependencies.isEmpty())
        toStream(stream, "dependencies", stringListToXMLValue(_dependencies), indent + 1);
    indentXML(stream, indent);
    stream << "</file>\n";
}

// ---------------------------------------------------------------------------
// Keys and references

void QAStFile::changeFileKey(const QString& key)
{
    _fileKey = key;
    _language = languageType(key);
    _fullPath = determineAbsolutePathFile(key);
    _lastFileKey = key;
    renameable = true;
    setName(QFileInfo(key).fileName());
    renameable = false;
    _timeStamp = QDateTime();
}

QList<QAStData*> QAStFile::references() const
{
    QList<QAStData*> found;
    QAStData* owner = const_cast<QAStFile*>(this)->project();
    if (!owner)
        return found;
    // The node kinds that refer to files answer their key through an
    // invokable fileKey(); this class does not depend on them.
    for (QAStData* reference : owner->childrenOfClass("QAStNodeFileRef", true)) {
        QString key;
        if (QMetaObject::invokeMethod(reference, "fileKey", Qt::DirectConnection, Q_RETURN_ARG(QString, key))
            && isEqualKeys(key, _fileKey.get()))
            found.append(reference);
    }
    return found;
}

namespace {

void tellReference(QAStData* reference, QAStFile* file)
{
    QMetaObject::invokeMethod(reference, "referencedFileKeyChanged", Qt::DirectConnection,
                              Q_ARG(QAStFile*, file));
}

} // namespace

void QAStFile::setFileKey(const QString& key)
{
    // The property editor may have written the new key already: the
    // references are found by the old one.
    _fileKey = _lastFileKey;
    const QList<QAStData*> referring = references();
    changeFileKey(key);
    for (QAStData* reference : referring)
        tellReference(reference, this);
}

void QAStFile::referenceFileKeyChanged(QAStData* reference)
{
    const QList<QAStData*> referring = references();
    QString key;
    QMetaObject::invokeMethod(reference, "fileKey", Qt::DirectConnection, Q_RETURN_ARG(QString, key));
    changeFileKey(key);
    for (QAStData* other : referring) {
        if (other != reference)
            tellReference(other, this);
    }
}

void QAStFile::addedInto()
{
    _fullPath = determineAbsolutePathFile(_fileKey.get());
}

QString QAStFile::logFilename()
{
    return directory() + QDir::separator() + QLatin1String("intermediates_files") + QString::number(getQuid())
        + QLatin1String(".log");
}

void QAStFile::del()
{
    if (!references().isEmpty()) {
        if (StudioInterface* studio = studioIFace())
            studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                               tr("Unable to remove this file because is referenced in the Tests browser.\n"));
        return;
    }
    QAStData::del();
}

// ---------------------------------------------------------------------------
// Analysis

namespace {

// The objects file keeps whole seconds: a time read back must not look
// older than the same time kept in memory. Times are kept in UTC: a local
// time asks the time zone again for each of the thousands of files a tag
// pass names, and costs it more than the stat itself.
QDateTime modificationTime(const QString& path)
{
    struct stat status;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return QDateTime();
    return QDateTime::fromSecsSinceEpoch(qint64(status.st_mtime), Qt::UTC);
}

} // namespace

bool QAStFile::needUpdate() const
{
    return _timeStamp.isNull() || _timeStamp < modificationTime(_fullPath);
}

void QAStFile::setTimeStamp()
{
    const QDateTime modifiedAt = modificationTime(_fullPath);
    _timeStamp = modifiedAt.isValid() ? modifiedAt : QDateTime();
}

void QAStFile::addDependency(const QString& path)
{
    QString key = QDir::cleanPath(QDir::fromNativeSeparators(path));
    key.replace(QLatin1Char('\\'), QLatin1Char('/'));
    key = determineRelativePathFile(key);
    if (!_dependencySet.contains(key)) {
        _dependencySet.insert(key);
        _dependencies.append(key);
    }
}

void QAStFile::taggingInformation(bool force)
{
    _tagStopped = false;
    parse(force);
}

void QAStFile::parse(bool force)
{
    QAStData* owner = project();
    if (!owner || _tagging)
        return;
    if (!needUpdate() && !force) {
        if (!_quiet)
            displayMessage(MessageConsole, tr("%1: is up-to-date\n").arg(name()));
        emit taggingTerminated();
        return;
    }
    _timeStamp = QDateTime();
    QTextStream stream;
    if (!createEnvironmentFile(stream))
        return;
    // The project's settings, not any node's, drive the analyser.
    owner->generateEnv(stream);
    stream << "$FILENAME='" << QAStPerlGen::safeStr(QDir::fromNativeSeparators(_fileKey.get()), nullptr)
           << "';\n";
    _tagging = true;
    emit taggingStarted();
    connect(this, &QAStData::perlScriptTerminated, this, &QAStFile::taggingInformationTerminated);
    executePerlScript(QStringLiteral("tags.pl"), owner->directory(), &stream, true, MessageConsole);
}

void QAStFile::taggingInformationTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStFile::taggingInformationTerminated);
    const QString tagFile = project() ? project()->directory() + QLatin1String("/tags") : QString();
    const bool ran = executionStatus() == ExecutionSuccess;
    if (ran && readTagFile(tagFile)) {
        endTagging();
        return;
    }
    if (ran)
        displayMessage(MessageConsole, tr("Can't open tag file.\n"));
    displayMessage(MessageConsole, tr("%1: file analysing failed.\n").arg(name()));
    endTagging();
    setTimeStamp();
}

void QAStFile::endTagging()
{
    _tagStopped = false;
    // A queue goes on from this signal: the flag falls after it, so that
    // nothing starts this file again from inside it.
    emit taggingTerminated();
    _tagging = false;
}

// ---------------------------------------------------------------------------
// Tags of the file

QList<QAStTestedTag*> QAStFile::components(bool recursive) const
{
    return tagsOf<QAStTestedTag>(this, "QAStTestedTag", recursive);
}

QList<QAStAPackageTag*> QAStFile::namespaces(bool recursive) const
{
    return tagsOf<QAStAPackageTag>(this, "QAStATag", recursive, Namespace);
}

QList<QAStAClassTag*> QAStFile::classes(bool recursive, bool throughNamespaces) const
{
    QList<QAStAClassTag*> found = tagsOf<QAStAClassTag>(this, "QAStAClassTag", recursive);
    if (throughNamespaces && !recursive) {
        for (QAStAPackageTag* space : namespaces(true)) {
            for (QAStAClassTag* inner : tagsOf<QAStAClassTag>(space, "QAStAClassTag", false)) {
                if (!found.contains(inner))
                    found.append(inner);
            }
        }
    }
    return found;
}

QList<QAStAPackageTag*> QAStFile::packages(bool recursive) const
{
    return tagsOf<QAStAPackageTag>(this, "QAStAPackageTag", recursive);
}

QList<QAStAFunctionTag*> QAStFile::functions(bool recursive) const
{
    return tagsOf<QAStAFunctionTag>(this, "QAStAFunctionTag", recursive);
}

QList<QAStAStructTag*> QAStFile::structures(bool recursive) const
{
    return tagsOf<QAStAStructTag>(this, "QAStAStructTag", recursive);
}

QStringList QAStFile::sourceFiles() const
{
    QStringList paths;
    const int type = fileType();
    if (type != HeaderFiles && type != AdaFiles)
        return paths;
    for (QAStAFunctionTag* function : functions(true)) {
        if (function->hasQualifier(Body))
            continue;
        if (QAStAFunctionTag* body = function->implementation()) {
            const QString path = body->absolutePath();
            if (!paths.contains(path))
                paths.append(path);
        }
    }
    return paths;
}

QStringList QAStFile::headerFiles() const
{
    QStringList paths;
    if (language() == 8)
        return paths;
    for (QAStAFunctionTag* function : functions(true)) {
        if (function->hasQualifier(Declaration))
            continue;
        QAStAFunctionTag* prototype = function->declaration();
        if (!prototype)
            continue;
        const QString path = prototype->absolutePath();
        const int type = fileType(path);
        if ((type == HeaderFiles || languageType(path) == 4) && !paths.contains(path))
            paths.append(path);
    }
    return paths;
}

QStringList QAStFile::stubbableFiles()
{
    QStringList paths = QAStTestedTag::stubbableFiles();
    paths.removeAll(_fullPath);
    // Headers can be replaced by stubs in C++ only.
    if (language() != 2) {
        paths.erase(std::remove_if(paths.begin(), paths.end(),
                                   [](const QString& path) { return fileType(path) == HeaderFiles; }),
                    paths.end());
    }
    return paths;
}

// ---------------------------------------------------------------------------
// Kinds of files

int QAStFile::fileType(const QString& name)
{
    const QString fileName = name.mid(name.lastIndexOf(QLatin1Char('/')) + 1);
    if (const int place = builtInPlace(fileName); place >= 0)
        return typeOrder[place];
    for (const QString& patterns : userFileTypes()) {
        if (matchesOneOf(fileName, patterns))
            return UserFiles;
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
    return a == b || QDir::cleanPath(a) == QDir::cleanPath(b);
}

QStringList QAStFile::fileTypeFilter(int type)
{
    const auto text = [](const QString& label, const QString& patterns) {
        return label + QLatin1String(" (") + patterns + QLatin1Char(')');
    };
    if (type == UserFiles) {
        QStringList filters;
        const QMap<QString, QString> user = userFileTypes();
        for (auto it = user.constBegin(); it != user.constEnd(); ++it)
            filters << text(it.key(), it.value());
        return filters;
    }
    if (type == Workspace)
        type = Project;
    else if (type == RuntimeResults || type > UserFiles || type < 0)
        type = AllFiles;
    const TypeFilter& filter = typeFilters[type];
    return {text(tr(filter.label), QString::fromLatin1(filter.patterns))};
}

QStringList QAStFile::addFilesFilters(int language)
{
    // The four source languages, the current one first.
    QList<int> sources {AdaFiles, CFiles, CppFiles, JavaFiles};
    const int current = language == 1 ? CFiles : language == 2 ? CppFiles : language == 4 ? AdaFiles
                      : language == 8 ? JavaFiles : -1;
    if (sources.removeOne(current))
        sources.prepend(current);
    QStringList filters;
    for (int type : sources + QList<int> {MatlabFiles, AllTestScripts, AllFiles})
        filters << fileTypeFilter(type);
    return filters;
}

QStringList QAStFile::filesToAbsPathStringList(const QList<QAStFile*>& files)
{
    QStringList paths;
    for (const QAStFile* file : files)
        paths << file->absolutePath();
    return paths;
}

QStringList QAStFile::filesToRelPathStringList(const QList<QAStFile*>& files)
{
    QStringList keys;
    for (const QAStFile* file : files)
        keys << file->fileKey();
    return keys;
}

// ---------------------------------------------------------------------------
// What the user sees

QAPropertyGroup* QAStFile::propertyGroup()
{
    QAPropertyGroup* group = QAStTestedTag::propertyGroup();
    auto* key = new QAPropertyAttrLineEdit(QStringLiteral("fileKey"), &_fileKey);
    key->setName(tr("Relative path"));
    group->addChild(key);
    _fullPathShown = _fullPath;
    auto* full = new QAPropertyAttrLineEdit(QStringLiteral("fullPath"), &_fullPathShown);
    full->setName(tr("Full path"));
    full->setReadOnly(true);
    group->addChild(full);
    return group;
}

QMenu* QAStFile::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    connect(menu->addAction(tr("&Open")), &QAction::triggered, this, &QAStATag::edit);
    connect(menu->addAction(tr("&Refresh Information")), &QAction::triggered, this,
            [this] { taggingInformation(true); });
    connect(menu->addAction(tr("Delete")), &QAction::triggered, this, &QAStFile::del);
    connect(menu->addAction(tr("Sort Alphabetically")), &QAction::triggered, this, &QAStData::sortChildren);
    connect(menu->addAction(tr("Test...")), &QAction::triggered, this, &QAStATag::test);
    connect(menu->addAction(tr("Proper&ties")), &QAction::triggered, this, &QAStData::properties);
    return menu;
}

QStringList QAStFile::vcsItems()
{
    return QStringList(_fullPath);
}

void QAStFile::doubleClickAction()
{
    edit();
}

bool QAStFile::readTagFile(const QString& path)
{
    QAStTagReader reader(this);
    return reader.read(path);
}
