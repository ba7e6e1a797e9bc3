// Fuzzes the environment file: the input, cut at each NUL byte, fills every
// text setting, list and map of a configuration and the names of a group and
// its node, and the group's file is generated. The file must then read as the
// generator's own grammar, where each value is one single-quoted string that
// ends at its own closing quote: a backslash escapes only a backslash or a
// quote, and what follows a string is what the statement expects there. Two
// raw texts, which no macro expansion touches, must also read back as set.

#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "studiointerface.h"

#include <QByteArray>
#include <QDir>
#include <QGuiApplication>
#include <QMap>
#include <QTextStream>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

class ShippedDataHost : public StudioInterface
{
public:
    QString dataDir() override { return QStringLiteral(SDK_SHIPPED_DATA); }
};

// The statements of an environment file, each variable with its values.
class Grammar
{
public:
    explicit Grammar(const QString& text) : t(text) {}

    bool read(QMap<QString, QStringList>& statements)
    {
        while (i < t.size()) {
            QString name;
            QStringList values(1);
            if (eat(u"$ENV{")) {
                if (!quoted(name) || !eat(u"} = ") || !quoted(values[0]) || !eat(u";\n"))
                    return false;
                name.prepend(QLatin1String("%"));
            } else if (eat(u"$")) {
                if (!word(name) || !(eat(u"=") || eat(u" = ")) || !(number() || quoted(values[0])) || !eat(u";\n"))
                    return false;
                name.prepend(QLatin1Char('$'));
            } else if (eat(u"@")) {
                values.clear();
                if (!word(name) || !eat(u"=("))
                    return false;
                while (!eat(u");\n")) {
                    if (!values.isEmpty() && !eat(u", ") && !eat(u","))
                        return false;
                    if (!quoted(values.emplace_back()))
                        return false;
                }
                name.prepend(QLatin1Char('@'));
            } else {
                return false;
            }
            statements.insert(name, values);
        }
        return true;
    }
    qsizetype position() const { return i; }

private:
    bool eat(QStringView what)
    {
        if (!QStringView(t).mid(i).startsWith(what))
            return false;
        i += what.size();
        return true;
    }
    bool word(QString& name)
    {
        const qsizetype start = i;
        while (i < t.size() && (t.at(i).isLetterOrNumber() || t.at(i) == u'_') && t.at(i).unicode() < 128)
            ++i;
        name = t.mid(start, i - start);
        return i > start;
    }
    bool number()
    {
        eat(u"-");
        const qsizetype start = i;
        while (i < t.size() && t.at(i).isDigit() && t.at(i).unicode() < 128)
            ++i;
        return i > start;
    }
    bool quoted(QString& value)
    {
        if (!eat(u"'"))
            return false;
        while (i < t.size()) {
            const QChar c = t.at(i++);
            if (c == u'\'')
                return true;
            if (c == u'\\') {
                if (i == t.size() || (t.at(i) != u'\\' && t.at(i) != u'\''))
                    return false;
                value += t.at(i++);
            } else {
                value += c;
            }
        }
        return false;
    }

    const QString& t;
    qsizetype i = 0;
};

void fail(const char* what, const QString& text, qsizetype at)
{
    std::fprintf(stderr, "property failed: %s at %lld\n%s\n", what, static_cast<long long>(at),
                 text.mid(qMax<qsizetype>(0, at - 200), 400).toUtf8().constData());
    std::abort();
}

QAStProject* project = nullptr;
QAStNodeGroup* group = nullptr;
QAStNode* node = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication app(*argc, *argv);
    static ShippedDataHost host;
    QAStData::initialize(&host);
    if (!QAStConfiguration::initialize(&host))
        fail("the shipped definition file does not load", QString(), 0);
    project = new QAStProject(QPixmap());
    project->create(QDir::temp().filePath(QStringLiteral("fuzz.vmp")));
    project->addConfiguration(QStringLiteral("Debug"));
    group = new QAStNodeGroup(QStringLiteral("group"), project);
    node = new QAStNodeGroup(QStringLiteral("node"), group);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QList<QByteArray> pieces = QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)).split('\0');
    qsizetype next = 0;
    const auto piece = [&] { return QString::fromUtf8(pieces.at(next++ % pieces.size())); };

    QAStConfiguration* configuration = project->initialConfiguration(QStringLiteral("Debug"));
    group->setName(piece());
    node->setName(piece());
    for (const QString& key : QAStConfiguration::defaultKeys()) {
        const int type = configuration->property(key).typeId();
        if (type == QMetaType::QString)
            configuration->setProperty(key, piece());
        else if (type == QMetaType::QStringList)
            configuration->setProperty(key, QStringList {piece(), piece()});
    }
    configuration->setProperty(QStringLiteral("envVariables"), QVariantMap {{piece(), piece()}});
    configuration->setProperty(QStringLiteral("executionFlag"), 0x3F | 0x200);

    QString text;
    QTextStream stream(&text);
    group->generateEnv(stream);
    stream.flush();
    QMap<QString, QStringList> statements;
    Grammar grammar(text);
    if (!grammar.read(statements))
        fail("a statement does not read as the generator writes it", text, grammar.position());
    const QString key = configuration->property(QStringLiteral("envVariables")).toMap().firstKey();
    if (!statements.contains(QLatin1Char('%') + key))
        fail("a raw key does not read back", text, text.indexOf(QLatin1String("$ENV{")));
    const QStringList files = configuration->property(QStringLiteral("tsf_selective_file")).toStringList();
    if (statements.value(QStringLiteral("@ZTG_SELECTIVE_FILES")) != files)
        fail("a raw list does not read back", text, text.indexOf(QLatin1String("@ZTG_SELECTIVE_FILES=")));
    return 0;
}
