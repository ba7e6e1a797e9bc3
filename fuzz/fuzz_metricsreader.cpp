// Fuzzes the metrics reader and tree: the input is one metrics file, read
// together with a well-formed one behind it; the tree is built and
// completed, queried by file and line, and its testing time changed.
//
// Properties: whatever the input, the well-formed file stands in the tree
// and answers its own values, unless the input names a file of the same
// name (the first of a name answers); no value read makes the load hang.

#include "qmetelement.h"
#include "qmetquery.h"
#include "qmettree.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

const char wellFormed[] =
    "<FILE Name=\"anchor.c\" Dir=\"/src\"><METRICS><METRIC Key=\"Effort\" Value=\"36\"/></METRICS>"
    "<ITEMS><FUNCTION Name=\"f\" Line=\"7\"><METRICS><METRIC Key=\"VG\" Value=\"3\"/></METRICS></FUNCTION>"
    "</ITEMS></FILE>";

QString writeFile(const char* suffix, const QByteArray& bytes)
{
    const QString path = QStringLiteral("/tmp/fuzz_metricsreader.%1.%2").arg(::getpid()).arg(QLatin1String(suffix));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(bytes);
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    static const QString anchor = writeFile("anchor", QByteArray(wellFormed));
    const QString fuzzed = writeFile("input", input);

    QMetTree tree({fuzzed, anchor});
    tree.init();
    tree.stroudChange(18);
    tree.stroudChanged(0);
    const QMetQuery query(&tree);
    // A line the input may name, so that the walk through items runs.
    const int line = size > 0 ? data[0] : 1;
    for (const QMetElement* file : tree.root()->children()) {
        query.getVgValue(file->name(), line);
        query.getSourceLinesValue(file->name());
        query.getVgSumValue(file->name());
        query.itemMetric(file->name(), line, QStringLiteral("Statements"));
    }
    if (!input.toUpper().contains("ANCHOR.C")) {
        if (query.getVgValue(QStringLiteral("anchor.c"), 7) != QLatin1String("3")
            || query.getVgSumValue(QStringLiteral("/elsewhere/ANCHOR.C")) != QLatin1String("3")) {
            std::fprintf(stderr, "the well-formed file does not answer its own values\n");
            std::abort();
        }
    }
    if (size < 4096)
        tree.displayTree();
    return 0;
}
