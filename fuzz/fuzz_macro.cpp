// Fuzzes the macro interpreter bound to a project, with a host that has no
// user: every prompt is cancelled, and errors go to a console that counts.
//
// Input: the first byte holds flags: bit 0 gives a prompt title, bit 1 a list
// of items for $$NODEPATH, bits 2 and 3 the selection (a node, the project,
// a list view item, or none). The rest is the text (UTF-8).
//
// Properties: a text without a dollar, an at sign or a line feed comes back
// as it was, without errors; a text expands the same way twice.

#include "qailogmonitor.h"
#include "qastdata.h"
#include "qastnodegroup.h"
#include "qastprjmacroanalyse.h"
#include "qastproject.h"
#include "studiointerface.h"

#include <QGuiApplication>
#include <QString>
#include <QStringList>
#include <QTreeWidgetItem>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

class CountingConsole : public QAILogMonitor
{
public:
    void log(const QString&) override { ++messages; }
    void error(const QString&) override { ++messages; }
    int errorCount() const override { return 0; }
    void resetError() override {}
    int messages = 0;
};

class HostWithoutUser : public StudioInterface
{
public:
    QString binaryDir() override { return QStringLiteral("/opt/velmont/bin"); }
    QAILogMonitor* console(int) override { return &out; }
    QString getText(const QString&, const QString&, const QString&, bool* ok) override
    {
        *ok = false;
        return QString();
    }
    CountingConsole out;
};

HostWithoutUser* host = nullptr;
QAStProject* project = nullptr;
QAStNodeGroup* node = nullptr;
QTreeWidgetItem* item = nullptr;

void check(bool condition, const char* what, const QString& text)
{
    if (condition)
        return;
    std::fprintf(stderr, "property failed: %s\ntext: %s\n", what, text.toUtf8().constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A line feed of the text is copied to standard output by the scanner.
    if (!std::freopen("/dev/null", "w", stdout))
        std::abort();
    // Tree objects carry images, which need an application.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "fuzz_macro";
    static char* argv[] = {name, nullptr};
    new QGuiApplication(argc, argv);
    host = new HostWithoutUser;
    QAStData::initialize(host);
    project = new QAStProject(QStringLiteral("demo"), QPixmap());
    node = new QAStNodeGroup(QStringLiteral("unit"), project);
    node->addOutFileName(QStringLiteral("FDC"), QStringLiteral("a.fdc"));
    item = new QTreeWidgetItem(QStringList{QStringLiteral("item")});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    const QString title = (data[0] & 1) ? QStringLiteral("Prompt Dialog") : QString();
    QStringList items{QStringLiteral("a b.c"), QStringLiteral("d.c")};
    QStringList* itemList = (data[0] & 2) ? &items : nullptr;

    QAStPrjMacroAnalyse* binding = nullptr;
    switch ((data[0] >> 2) & 3) {
    case 0: binding = new QAStPrjMacroAnalyse(static_cast<QAStData*>(node)); break;
    case 1: binding = new QAStPrjMacroAnalyse(static_cast<QAStData*>(project)); break;
    case 2: binding = new QAStPrjMacroAnalyse(item); break;
    default: binding = new QAStPrjMacroAnalyse(static_cast<QAStData*>(nullptr)); break;
    }

    host->out.messages = 0;
    const QString first = binding->analyse(text, title, itemList);
    const int firstMessages = host->out.messages;
    const QString second = binding->analyse(text, title, itemList);
    check(first == second, "a text expands the same way twice", text);
    check(host->out.messages == 2 * firstMessages, "a text reports the same twice", text);

    const bool plain = !text.contains(QLatin1Char('$')) && !text.contains(QLatin1Char('@'))
        && !text.contains(QLatin1Char('\n'));
    if (plain) {
        check(first == text, "a text without macros comes back as it was", text);
        check(firstMessages == 0, "a text without macros reports nothing", text);
    }
    delete binding;
    return 0;
}
