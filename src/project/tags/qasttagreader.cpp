#include "qasttagreader.h"

#include "nodetaginterface.h"
#include "qainterfaceids.h"
#include "qastaclasstag.h"
#include "qastamethodtag.h"
#include "qastapackagetag.h"
#include "qastastructtag.h"
#include "qastfile.h"
#include "qastnodeplugincenter.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringBuilder>

#include <cstdio>
#include <limits>
#include <string_view>
#include <unordered_map>

namespace {

using T = QAStTagScanner;

const QString keyName = QStringLiteral("Name");
const QString keyFile = QStringLiteral("File");
const QString keyLine = QStringLiteral("Line");
const QString keyKind = QStringLiteral("Kind");
const QString keyQualifier = QStringLiteral("Qualifier");
const QString keyComplete = QStringLiteral("Complete Name");
const QString keySeparate = QStringLiteral("Separate");
const QString keySignature = QStringLiteral("Signature");

QString toText(QByteArrayView bytes)
{
    return QString::fromUtf8(bytes);
}

// A line number is digits alone; too large for an int, it counts as none,
// as QByteArray::toInt() would say. Converted here: the general conversion
// costs a line of the tag file as much as scanning it.
int lineNumber(QByteArrayView digits)
{
    qint64 value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9')
            return 0;
        value = value * 10 + (c - '0');
        if (value > std::numeric_limits<int>::max())
            return 0;
    }
    return int(value);
}

// What each word of "access:" and "implementation:" adds to the qualifier.
int qualifierBits(QByteArrayView word)
{
    if (word == "public")
        return QAStATag::Public;
    if (word == "protected")
        return QAStATag::Protected;
    if (word == "private")
        return QAStATag::Private;
    if (word == "pure virtual" || word == "abstract")
        return QAStATag::Abstract;
    if (word == "virtual")
        return QAStATag::Virtual;
    return 0;
}

enum Made { Nothing, Package, Class, Struct, Function, Plain };

struct KindRule {
    const char* kind;
    int bits;
    Made made;
    const char* icon;
};

const KindRule kindRules[] = {
    {"protected_body", 0x100, Package, nullptr},
    {"task_body", 0x100, Package, nullptr},
    {"package_body", 0x100, Package, nullptr},
    {"protected_type", 0x80, Package, nullptr},
    {"protected_spec", 0x80, Package, nullptr},
    {"task_type", 0x80, Package, nullptr},
    {"task_spec", 0x80, Package, nullptr},
    {"package_spec", 0x80, Package, nullptr},
    {"package_body_is_separate", 0x80, Package, nullptr},
    {"package_renames", 0x80, Package, nullptr},
    {"generic_package", 0x90, Package, nullptr},
    {"generic_package_renames", 0x90, Package, nullptr},
    // An instantiated package counts as a body, an instantiated subprogram
    // as a declaration: the two differ on purpose.
    {"generic_package_instanciation", 0x110, Package, nullptr},
    {"namespace", 0x800, Package, nullptr},
    {"package", 0x20000, Package, nullptr},
    {"class", 0x80, Class, nullptr},
    {"struct", 0x80, Struct, nullptr},
    {"function", 0x100, Function, nullptr},
    {"function_body", 0x100, Function, nullptr},
    {"procedure_body", 0x100, Function, nullptr},
    {"entry_body", 0x100, Function, nullptr},
    {"prototype", 0x80, Function, nullptr},
    {"function_decl", 0x80, Function, nullptr},
    {"function_is_separate", 0x80, Function, nullptr},
    {"function_renames", 0x80, Function, nullptr},
    {"procedure_decl", 0x80, Function, nullptr},
    {"procedure_is_separate", 0x80, Function, nullptr},
    {"procedure_renames", 0x80, Function, nullptr},
    {"entry_decl", 0x80, Function, nullptr},
    {"method", 0x80, Function, nullptr},
    {"generic_function", 0x90, Function, nullptr},
    {"generic_function_renames", 0x90, Function, nullptr},
    {"generic_function_instanciation", 0x90, Function, nullptr},
    {"generic_procedure", 0x90, Function, nullptr},
    {"generic_procedure_renames", 0x90, Function, nullptr},
    {"generic_procedure_instanciation", 0x90, Function, nullptr},
    {"ztu_service", 0x1000, Plain, "ztu_service.xpm"},
    {"ztu_test", 0x4000, Plain, "ztu_test.xpm"},
    {"zot_class", 0x2000, Plain, "zot_class.xpm"},
    {"zot_test_class", 0x2000, Plain, "zot_test_class.xpm"},
    {"zot_test_suite", 0x8000, Plain, "zot_test_suite.xpm"},
    {"zot_test_case", 0x4000, Plain, "zot_test_case.xpm"},
    {"zot_procedure", 0, Plain, "zot_procedure.xpm"},
    {"zot_property", 0, Plain, "zot_property.xpm"},
    {"zot_stub", 0, Plain, "zot_property.xpm"},
    {"zot_native", 0, Plain, "zot_property.xpm"},
    {"zot_run", 0, Plain, "zot_run.xpm"},
    {"zot_epilogue", 0, Plain, "zot_epilogue.xpm"},
    {"zot_prologue", 0, Plain, "zot_prologue.xpm"},
    {"interface", 0x40000, Plain, "interface.xpm"},
};

// Found by the bytes of the line, in place: no string is made for a kind.
const KindRule* ruleOf(QByteArrayView kind)
{
    static const std::unordered_map<std::string_view, const KindRule*> rules = [] {
        std::unordered_map<std::string_view, const KindRule*> map;
        for (const KindRule& rule : kindRules)
            map.emplace(rule.kind, &rule);
        return map;
    }();
    const auto found = rules.find(std::string_view(kind.data(), size_t(kind.size())));
    return found == rules.end() ? nullptr : found->second;
}

} // namespace

QAStTagReader::QAStTagReader(QAStFile* file)
    : _file(file), _project(file ? qobject_cast<QAStProject*>(file->project()) : nullptr)
{
}

bool QAStTagReader::read(const QString& path)
{
    QFile input(path);
    if (!_file || !input.open(QIODevice::ReadOnly))
        return false;
    const qint64 size = input.size();
    // Mapped when it can be, so that words are cut from the file in place.
    const uchar* mapped = size > 0 ? input.map(0, size) : nullptr;
    QByteArray copy;
    if (!mapped && size > 0)
        copy = input.readAll();
    StudioInterface* studio = QAStData::studioIFace();
    if (studio)
        studio->progressStart(size, QCoreApplication::translate("QAStFile", "Analyzing file"),
                              QCoreApplication::translate("QAStFile", "&Abort"), _file);
    read(mapped ? reinterpret_cast<const char*>(mapped) : copy.constData(), mapped ? size : copy.size());
    if (studio)
        studio->progressEnd();
    return true;
}

void QAStTagReader::read(const char* data, qsizetype size)
{
    // The tags of this file go without a word to the views, which would
    // otherwise redraw once for each.
    {
        const QSignalBlocker quiet(_file);
        _file->deleteChildren();
    }
    _file->resetTimeStamp();
    _done = {_file};
    _doneSet = {_file};
    _current = _file;
    _fileKey = QDir::cleanPath(_file->fileKey());
    _currentKey = _fileKey;
    _stale.clear();
    _fileTags.clear();
    _currentTags = nullptr;
    _methods.clear();
    _classes.clear();
    _pluginMade = false;
    _files.clear();
    _filesIndexed = false;
    _dependencyKeys.clear();
    _dependencyOrder.clear();
    _dependencyOrderOf = 0;
    // The project may have changed since the last pass: what was known of
    // its functions and last children is found again.
    _lastChild.clear();
    _lastParent = nullptr;
    _lastParentChild = nullptr;
    _declarations.clear();
    _bodies.clear();
    _prototypes.clear();
    _entries.clear();
    _renewedAt.clear();
    _functionsIndexed = false;
    _dependencies = nullptr;
    _lastFileKnown = false;
    _package.clear();
    _scanner.reset(data, size);
    StudioInterface* studio = QAStData::studioIFace();
    advance();
    while (_token != T::TK_END && !QAStFile::isTagStopped()) {
        if (_token == T::TK_EOL) {
            advance();
            continue;
        }
        if (studio)
            studio->progressStep(_scanner.position());
        readLine();
    }
    for (QAStFile* done : std::as_const(_done)) {
        done->setTimeStamp();
        emit done->updated();
    }
    _file->setTimeStamp();
    emit _file->updated();
    // Their addresses may be taken by others once the pass is over.
    _methods.clear();
    _classes.clear();
}

void QAStTagReader::advance()
{
    _token = _scanner.next();
    while (_token == T::TK_UNKNOWN) {
        const QByteArrayView text = _scanner.text();
        if (_reportUnknown)
            std::fprintf(stderr, "Unknown token %.*s\n", int(text.size()), text.data());
        _token = _scanner.next();
    }
}

void QAStTagReader::error(const char* text)
{
    const QString message = QCoreApplication::translate("qastfile_display", "Syntax error: %1 in file ./ctags: line %2")
                                .arg(QCoreApplication::translate("qastfile_display", text))
                                .arg(_scanner.line());
    _errors << message;
    QAStData::displayMessage(QAStData::MessageConsole, message + QLatin1Char('\n'), QAStData::ErrorStream);
}

void QAStTagReader::skipRest()
{
    _scanner.skipLine();
    advance();
    if (_token == T::TK_EOL)
        advance();
}

bool QAStTagReader::readLine()
{
    Line values;
    if (_token != T::TK_IDENT && _token != T::TK_NUMBER) {
        error("expecting an identifier");
        skipRest();
        return false;
    }
    values.name = toText(_scanner.text());
    advance();
    if (_token != T::TK_TAB) {
        error("expecting a tab");
        skipRest();
        return false;
    }
    advance();
    if (_token != T::TK_IDENT) {
        error("expecting a file");
        skipRest();
        return false;
    }
    const QByteArrayView fileText = _scanner.text();
    advance();
    if (_token != T::TK_TAB) {
        error("expecting a tab");
        skipRest();
        return false;
    }
    advance();
    if (_token != T::TK_NUMBER) {
        error("expecting a line number");
        skipRest();
        return false;
    }
    values.line = lineNumber(_scanner.text());
    QAStFile* current = fileOfLine(fileText);
    if (!current) {
        skipRest();
        return true;
    }
    values.file = _lastFileKey;
    advance();
    if (_token == T::TK_EOL || _token == T::TK_END) {
        // The line only tells that the file was seen.
        if (_token == T::TK_EOL)
            advance();
        return true;
    }
    if (_token != T::TK_EXTSEP) {
        error("expecting the extension separator");
        skipRest();
        return false;
    }
    advance();
    if (_token != T::TK_TAB) {
        error("expecting a tab");
        skipRest();
        return false;
    }
    advance();
    if (_token != T::TK_IDENT) {
        error("expecting a kind");
        skipRest();
        return false;
    }
    const QByteArrayView kind = _scanner.text();
    values.kind = kind;
    advance();

    QAStData* parent = current;
    if (kind == "package") {
        _package = values.name;
    } else if ((kind == "class" || kind == "interface") && !_package.isEmpty()) {
        // Java classes stand in their package.
        if (QAStData* package = findBelow(_package, "QAStAPackageTag", false))
            parent = package;
    }
    const bool complete = readFields(values, parent);
    createTag(values, current, parent);
    if (!complete)
        skipRest();
    else if (_token == T::TK_EOL)
        advance();
    return complete;
}

namespace {

// A scope that this file does not hold, such as the class of a definition
// whose class lies in a header, leaves the tag under the file: the complete
// name still tells its class.
QAStData* scope(QAStData* found, QAStData* parent)
{
    return found ? found : parent;
}

} // namespace

bool QAStTagReader::readFields(Line& values, QAStData*& parent)
{
    QString pendingKey;
    const auto expectIdent = [&](const char* message) {
        advance();
        if (_token == T::TK_IDENT)
            return true;
        error(message);
        return false;
    };
    while (_token != T::TK_EOL && _token != T::TK_END && !QAStFile::isTagStopped()) {
        const int field = _token;
        switch (field) {
        case T::TK_NAMESPACE: {
            if (!expectIdent("expecting an implementation name"))
                return false;
            values.complete = toText(_scanner.text());
            parent = scope(findBelow(values.complete, "QAStAPackageTag", true), parent);
            break;
        }
        case T::TK_CLASS:
        case T::TK_INTERFACE: {
            if (!expectIdent("expecting an implementation name"))
                return false;
            QString text = toText(_scanner.text());
            if (!_package.isEmpty())
                text = _package + QLatin1Char('.') + text;
            values.complete = text;
            parent = scope(findBelow(text, field == T::TK_CLASS ? "QAStAClassTag" : "QAStATag", false), parent);
            break;
        }
        case T::TK_OUTER:
        case T::TK_FROM: {
            if (!expectIdent("expecting an implementation name"))
                return false;
            parent = scope(findBelow(toText(_scanner.text()), field == T::TK_OUTER ? "QAStTestedTag" : "QAStATag", false),
                           parent);
            if (field == T::TK_OUTER) {
                advance();
                if (_token == T::TK_COMMA)
                    advance();
                continue;
            }
            break;
        }
        case T::TK_PARENT:
            if (!expectIdent("expecting a parent name"))
                return false;
            values.name = toText(_scanner.text()) + QLatin1Char('.') + values.name;
            break;
        case T::TK_SEPARATE:
            if (!expectIdent("expecting an implementation name"))
                return false;
            values.complete = toText(_scanner.text()) + QLatin1Char('.') + values.name;
            values.separate = true;
            break;
        case T::TK_ACCESS:
        case T::TK_IMPLEMENTATION:
            if (!expectIdent("expecting an identifier"))
                return false;
            // Plain addition: a word given twice counts twice.
            values.qualifier += qualifierBits(_scanner.text());
            break;
        case T::TK_SIGNATURE: {
            if (!expectIdent("expecting a signature"))
                return false;
            // Commas cut the text into words; the signature is all of them.
            const char* from = _scanner.text().data();
            const char* to = from + _scanner.text().size();
            advance();
            while (_token == T::TK_IDENT || _token == T::TK_COMMA) {
                to = _scanner.text().data() + _scanner.text().size();
                advance();
            }
            values.signature = toText(QByteArrayView(from, to - from));
            continue;
        }
        case T::TK_IDENT: {
            const QByteArrayView text = _scanner.text();
            if (pendingKey.isEmpty() && text.endsWith(':')) {
                pendingKey = toText(text.chopped(1));
            } else if (!pendingKey.isEmpty()) {
                values.set(pendingKey, toText(text));
                pendingKey.clear();
            }
            break;
        }
        case T::TK_TAB:
            break;
        default:
            // "file:", "inherits:", numbers and commas tell nothing here.
            if (field != T::TK_COMMA && field != T::TK_NUMBER)
                pendingKey.clear();
            break;
        }
        advance();
    }
    return true;
}

QAStFile* QAStTagReader::fileOfLine(const QByteArrayView& text)
{
    // Lines of one file come in runs: the rest of a run is the first's.
    if (_lastFileKnown && _lastFileText == text)
        return _lastFile;
    _lastFileText = text.toByteArray();
    _lastFileKey = _file->determineRelativePathFile(toText(text));
    _lastFileKnown = true;
    _lastFile = currentFile();
    return _lastFile;
}

QAStFile* QAStTagReader::currentFile()
{
    // Keys are compared cleaned, as QAStFile::isEqualKeys() does, each
    // cleaned once: thousands of headers come and go in a large pass.
    const QString cleaned = QDir::cleanPath(_lastFileKey);
    if (cleaned != _currentKey) {
        if (cleaned != _fileKey)
            addDependency(_lastFileKey, cleaned);
        QAStFile* found = knownFile(cleaned);
        if (!found)
            found = addDependencyFile(_lastFileKey);
        if (!found)
            return nullptr;
        _current = found;
        _currentKey = cleaned;
        _currentTags = nullptr;
        startFile(found);
    }
    return isStale(_current) ? _current : nullptr;
}

bool QAStTagReader::isStale(QAStFile* file)
{
    // A file's age is looked at once in a pass, not on every line.
    auto it = _stale.constFind(file);
    if (it == _stale.constEnd())
        it = _stale.insert(file, file->needUpdate());
    return it.value();
}

void QAStTagReader::startFile(QAStFile* file)
{
    if (_doneSet.contains(file))
        return;
    _done.append(file);
    _doneSet.insert(file);
    if (!isStale(file))
        return;
    forgetTagsOf(file);
    const QSignalBlocker quiet(file);
    file->deleteChildren();
    _fileTags.erase(file);
    _currentTags = nullptr;
}

void QAStTagReader::forgetTagsOf(QAStFile* file)
{
    if (_functionsIndexed)
        _renewedAt.insert(file, _serial);
    // A tag deleted here may be a parent whose last child is kept, and a
    // new tag may come at its address.
    if (_lastParent)
        _lastChild.insert(_lastParent, _lastParentChild);
    _lastParent = nullptr;
    _lastParentChild = nullptr;
    QList<QAStData*> below {file};
    while (!below.isEmpty()) {
        QAStData* data = below.takeLast();
        _lastChild.remove(data);
        for (QAStData* child = data->firstChild(); child; child = child->next())
            below.append(child);
    }
}

QAStData* QAStTagReader::findBelow(const QString& qualified, const char* className, bool last)
{
    FileTags& tags = tagsOf(_current);
    if (!tags.indexed) {
        tags.indexed = true;
        tags.scopes.reserve(qsizetype(tags.made.size()));
        for (QAStATag* made : tags.made) {
            const QString name = made->qualifiedName();
            addScope(tags.scopes, made, name, Scopes::hashOf(name));
        }
        tags.made = {};
    }
    const Scope* found = tags.scopes.find(qualified);
    if (!found)
        return nullptr;
    QAStATag* tag = last ? found->last : found->first;
    return tag->inherits(className) ? tag : nullptr;
}

QAStTagReader::FileTags& QAStTagReader::tagsOf(QAStFile* file)
{
    // Lines of one file come in runs: its entry is looked up once a run.
    if (file == _current && _currentTags)
        return *_currentTags;
    FileTags& tags = _fileTags[file];
    if (file == _current)
        _currentTags = &tags;
    return tags;
}

void QAStTagReader::addScope(Scopes& scopes, QAStATag* tag, const QString& qualified, size_t hash)
{
    Scope& scope = scopes.obtain(qualified, hash);
    if (!scope.first)
        scope.first = tag;
    scope.last = tag;
}

void QAStTagReader::remember(QAStATag* tag, QAStFile* file, const QString& qualified, size_t hash)
{
    FileTags& tags = tagsOf(file);
    if (tags.indexed)
        addScope(tags.scopes, tag, qualified, hash);
    else
        tags.made.push_back(tag);
}

void QAStTagReader::addDependency(const QString& key, const QString& cleaned)
{
    // The file's own list is searched from its start: a pass naming
    // thousands of headers asks a set of its own instead.
    if (_dependencyKeys.isEmpty()) {
        for (const QString& known : _file->dependencies())
            _dependencyKeys.insert(QDir::cleanPath(known));
    }
    if (_dependencyKeys.contains(cleaned))
        return;
    _dependencyKeys.insert(cleaned);
    _file->addDependency(key);
}

void QAStTagReader::Line::set(const QString& key, const QString& text)
{
    // A named value of the line that has a built-in key takes its place,
    // as it would in the map.
    if (key == keyName)
        name = text;
    else if (key == keyFile)
        file = text;
    else if (key == keyLine)
        line = text.toInt();
    else if (key == keyQualifier)
        qualifier = text.toInt();
    else if (key == keyComplete)
        complete = text;
    else if (key == keySeparate)
        separate = text.toInt() != 0;
    else if (key == keySignature)
        signature = text;
    else if (key == keyKind)
        kind = ownKind = text.toUtf8();
    else
        others.insert(key, text);
}

QAStTagReader::Values QAStTagReader::Line::values() const
{
    Values made = others;
    made.insert(keyName, name);
    made.insert(keyFile, file);
    made.insert(keyLine, line);
    made.insert(keyKind, QString::fromUtf8(kind));
    made.insert(keyQualifier, qualifier);
    if (!complete.isNull())
        made.insert(keyComplete, complete);
    if (separate)
        made.insert(keySeparate, 1);
    if (!signature.isNull())
        made.insert(keySignature, signature);
    return made;
}

QAStData* QAStTagReader::createTag(Values& values, QAStFile* file, QAStData* parent)
{
    Line line;
    const QByteArray kind = values.value(keyKind).toString().toUtf8();
    line.kind = kind;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        if (it.key() != keyKind)
            line.set(it.key(), it.value().toString());
    }
    // Numbers are numbers in the map, and a signature may be there empty.
    line.line = values.value(keyLine).toInt();
    line.qualifier = values.value(keyQualifier).toInt();
    line.separate = values.value(keySeparate).toInt() != 0;
    return createTag(line, file, parent);
}

QAStData* QAStTagReader::createTag(Line& values, QAStFile* file, QAStData* parent)
{
    if (!file || !parent)
        return nullptr;
    const QString& name = values.name;
    const QString& path = values.file;
    const int line = values.line;
    int qualifier = values.qualifier;
    const QString& complete = values.complete;
    const KindRule* rule = ruleOf(values.kind);
    if (!rule)
        return offerToPlugins(values, parent);
    QAStData* after = lastChild(parent);
    qualifier += rule->bits;
    QAStATag* tag = nullptr;
    switch (rule->made) {
    case Package: {
        auto* package = new QAStAPackageTag(name, path, line, parent, after);
        if (values.separate && !complete.isEmpty())
            package->setQualifiedName(complete);
        tag = package;
        break;
    }
    case Class:
        tag = new QAStAClassTag(name, path, line, parent, after);
        _classes.insert(tag);
        break;
    case Struct:
        tag = new QAStAStructTag(name, path, line, parent, after);
        break;
    case Function:
        if (complete.isEmpty()) {
            tag = new QAStAFunctionTag(name, path, line, parent, after);
        } else {
            // A definition outside its class, the class's declaration seen
            // first, hangs under the file and knows its class by name.
            auto* owner = qobject_cast<QAStAClassTag*>(parent);
            if (owner && hasMethod(owner, name)) {
                parent = file;
                after = lastChild(file);
            } else if (owner) {
                _methods.insert({owner, name});
            }
            tag = new QAStAMethodTag(name, path, line, parent, after);
            const QString separator = file->fileLanguage() == 8 ? QStringLiteral(".") : QStringLiteral("::");
            tag->setQualifiedName(complete % separator % name);
        }
        tag->setSignature(values.signature);
        break;
    case Plain:
        tag = new QAStATag(name, path, line, parent, after);
        tag->setIconByFileName(QString::fromLatin1(rule->icon));
        break;
    case Nothing:
        return nullptr;
    }
    tag->setQualifier(qualifier);
    keepLastChild(parent, tag);
    // Spelt and hashed once for every table: it walks the ancestors.
    QString qualified = tag->qualifiedName();
    size_t hash = Index::hashOf(qualified);
    if (auto* method = qobject_cast<QAStAMethodTag*>(tag); method && (qualifier & QAStATag::Body)) {
        if (joinDeclaration(method, name, qualified, hash)) {
            qualified = tag->qualifiedName();
            hash = Index::hashOf(qualified);
        }
    }
    if (_functionsIndexed && qobject_cast<QAStAFunctionTag*>(tag))
        indexFunction(tag, file, qualified, hash);
    remember(tag, file, qualified, hash);
    return tag;
}

// The project's files by key, and its functions by name, are found in one
// walk of the file tree the first time they are needed, then kept up to date
// as the pass adds files and tags: a walk for each line would make the pass
// quadratic in the size of the project.
void QAStTagReader::indexFiles()
{
    if (_filesIndexed)
        return;
    _filesIndexed = true;
    if (!_project)
        return;
    for (QAStFile* file : _project->files())
        _files.insert(QDir::cleanPath(file->fileKey()), file);
}

QAStFile* QAStTagReader::knownFile(const QString& cleaned)
{
    indexFiles();
    return _files.value(cleaned);
}

QAStFile* QAStTagReader::addDependencyFile(const QString& key)
{
    if (!_project || !_project->rootFolder())
        return nullptr;
    if (!_dependencies) {
        _dependencies = _project->rootFolder()->dependencyFolder();
        _dependenciesSorted = !_dependencies->filters().isEmpty() || !_dependencies->folders().isEmpty();
    }
    // As the folder's own addFile does for a key it does not know yet; a
    // folder of files alone, as it usually is, need not be asked.
    QAStFolder* target = _dependenciesSorted ? _dependencies->accept(key) : nullptr;
    if (!target)
        target = _dependencies;
    auto* file = new QAStFile(key, target, lastChild(target));
    keepLastChild(target, file);
    _files.insert(QDir::cleanPath(file->fileKey()), file);
    return file;
}

void QAStTagReader::indexFunctions()
{
    if (_functionsIndexed)
        return;
    _functionsIndexed = true;
    if (!_project || !_project->rootFolder())
        return;
    // About one entry a hundred bytes of a large tag file, and a third as
    // many names in each table (a tag file of C and C++ code bases, 12 MB:
    // 130,000 entries, 34,000 declared names, 27,000 prototype names,
    // 33,000 bodies). Each table's slots are written whole when made:
    // tables made too large cost a first pass its faults.
    const qsizetype expected = _scanner.size() / 100;
    _declarations.reserve(expected / 3);
    _prototypes.reserve(expected / 3);
    _bodies.reserve(expected / 3);
    _entries.reserve(size_t(expected));
    for (QAStData* data : _project->rootFolder()->childrenOfClass("QAStAFunctionTag", true)) {
        auto* function = static_cast<QAStATag*>(data);
        const QString qualified = function->qualifiedName();
        indexFunction(function, function->file(), qualified, Index::hashOf(qualified));
    }
}

void QAStTagReader::indexFunction(QAStATag* function, QAStFile* file, const QString& qualified, size_t hash)
{
    const Indexed entry {function, file, _serial++, -1};
    if (function->hasQualifier(QAStATag::Declaration)) {
        append(_declarations, qualified, hash, entry);
        const QString name = function->name();
        append(_prototypes, name, Index::hashOf(name), entry);
    }
    if (function->hasQualifier(QAStATag::Body))
        append(_bodies, qualified, hash, entry);
}

void QAStTagReader::append(Index& index, const QString& name, size_t hash, const Indexed& entry)
{
    const int at = int(_entries.size());
    _entries.push_back(entry);
    Chain& chain = index.obtain(name, hash);
    if (chain.last < 0)
        chain.first = at;
    else
        _entries[size_t(chain.last)].next = at;
    chain.last = at;
}

// The last child of \a parent, kept as the pass appends, so that a file of
// many tags is not walked from its first child for each.
QAStData* QAStTagReader::lastChild(QAStData* parent)
{
    QAStData* last = parent == _lastParent ? _lastParentChild : _lastChild.value(parent);
    if (!last || last->parent() != parent)
        return parent->last();
    while (last->next())
        last = last->next();
    return last;
}

// Most lines go under the parent of the line before: that parent's last
// child is kept aside, and the table only hears of it when another comes.
void QAStTagReader::keepLastChild(QAStData* parent, QAStData* child)
{
    if (parent != _lastParent) {
        if (_lastParent)
            _lastChild.insert(_lastParent, _lastParentChild);
        _lastParent = parent;
    }
    _lastParentChild = child;
}

// Whether one of the tags indexed under \a name still lives.
bool QAStTagReader::anyLeft(const Index& index, const QString& name, size_t hash) const
{
    const Chain* found = index.find(name, hash);
    if (!found)
        return false;
    for (int at = found->first; at >= 0; at = _entries[size_t(at)].next) {
        if (isAlive(_entries[size_t(at)]))
            return true;
    }
    return false;
}

bool QAStTagReader::joinDeclaration(QAStATag* method, const QString& name, const QString& qualified, size_t hash)
{
    indexFunctions();
    if (anyLeft(_declarations, qualified, hash))
        return false;
    // The class may lie in a header: a prototype of the same name in the
    // files this one includes tells the method's name, the last one found
    // through the dependencies in their order.
    const Chain* candidates = _prototypes.find(name);
    if (!candidates)
        return false;
    // The dependencies only grow during the pass, and a file found stays
    // found: the order is extended from where its walk stopped, not walked
    // again from the first of thousands of headers for every method.
    const QStringList& dependencies = _file->dependencies();
    while (_dependencyOrderOf < dependencies.size()) {
        QAStFile* header = knownFile(QDir::cleanPath(dependencies.at(_dependencyOrderOf)));
        // The walk stops at a file that is gone, and tries it again next time.
        if (!header)
            break;
        _dependencyOrder.insert(header, int(_dependencyOrderOf));
        ++_dependencyOrderOf;
    }
    const QHash<QAStFile*, int>& order = _dependencyOrder;
    QAStATag* chosen = nullptr;
    int chosenAt = -1;
    for (int next = candidates->first; next >= 0; next = _entries[size_t(next)].next) {
        const Indexed& entry = _entries[size_t(next)];
        if (!isAlive(entry))
            continue;
        QAStATag* prototype = entry.tag;
        const int at = order.value(entry.file, -1);
        if (at < 0 || at < chosenAt)
            continue;
        const QString prototypeName = prototype->qualifiedName();
        if (anyLeft(_bodies, prototypeName, Index::hashOf(prototypeName)))
            continue;
        chosen = prototype;
        chosenAt = at;
    }
    if (!chosen)
        return false;
    method->setQualifiedName(chosen->qualifiedName());
    return true;
}

QAStData* QAStTagReader::offerToPlugins(const Line& line, QAStData* parent)
{
    const QString kind = QString::fromUtf8(line.kind);
    if (!_pluginKindsRead) {
        _pluginKinds = QAStNodePluginCenter::nodePluginCenter()->featureList(IID_NodeTag);
        _pluginKindsRead = true;
    }
    QAStData* made = nullptr;
    if (_pluginKinds.contains(kind)) {
        QUnknownInterface* face = nullptr;
        QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(kind, IID_NodeTag, &face);
        if (face) {
            Values values = line.values();
            made = static_cast<NodeTagInterface*>(face)->nodeTag(kind, values, 0, parent, parent->last());
            face->release();
        }
    }
    if (made)
        _pluginMade = true;
    else
        warning("[info] TAGGING: %s is a kind of token not yet implemented", qPrintable(kind));
    return made;
}

bool QAStTagReader::hasMethod(const QAStAClassTag* owner, const QString& name) const
{
    if (_pluginMade || !_classes.contains(owner))
        return owner->method(name);
    return _methods.contains({owner, name});
}
