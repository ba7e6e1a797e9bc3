// Fuzzes the parser that finds a file, line and column in a line of tool
// output. A few files, some with blanks in their names, stand in a directory
// of a fixed name, so that inputs can name them; the seeds do. The current
// directory stays as it is: libFuzzer keeps its corpus by relative paths.
//
// Input: the first byte chooses one of the line forms for a direct call of
// analyzeLineNumber and the index it starts from; the rest is the message
// (UTF-8). The message is cut to 200 characters: the parser asks the file
// system about every substring, which is meant for one line on a double-click.

#include "qastanalysemsg.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char* what, const QString& message)
{
    if (condition)
        return;
    std::fprintf(stderr, "property failed: %s\nmessage: %s\n", what, message.toUtf8().constData());
    std::abort();
}

const char* const prefixes[] = {nullptr, ",line ", " at ", ":", "\", line ", ",?[ \t]*line:?[ \t]*", ",", "\\(", "/Line "};
const char* const separators[] = {nullptr, ":", ".", "\\)"};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Gone again when the process exits.
    static struct Files {
        QDir dir {QStringLiteral("/tmp/velmont-fuzz-analysemsg")};
        ~Files() { dir.removeRecursively(); }
    } files;
    if (!files.dir.mkpath(QStringLiteral("src dir")))
        std::abort();
    for (const char* name : {"a.c", "a.c.orig", "src dir/main file.c", "run.pl"}) {
        QFile file(files.dir.filePath(QString::fromLatin1(name)));
        if (!file.open(QIODevice::WriteOnly))
            std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QString message =
        QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1)).left(200);

    QAStAnalyseMsg analyser;
    const bool found = analyser.analyze(message);
    if (found) {
        check(!analyser.file.isEmpty() && message.contains(analyser.file), "the file is part of the message", message);
        check(QFileInfo(analyser.file).isFile(), "the file is a regular file", message);
        check(analyser.line >= 0 && analyser.column >= 0, "line and column are not negative", message);
    } else {
        check(analyser.file.isNull() && analyser.anchor.isNull(), "nothing found, nothing kept", message);
        check(analyser.line == 0 && analyser.column == 0, "nothing found, no position", message);
    }

    QAStAnalyseMsg direct;
    const int form = data[0] % 9;
    const int index = message.isEmpty() ? 0 : (data[0] / 9) % (int(message.size()) + 1);
    const bool read = direct.analyzeLineNumber(message, index, prefixes[form], separators[data[0] % 4]);
    check(read || direct.column == 0, "no column without a line", message);
    check(direct.line >= 0 && direct.column >= 0, "line and column are not negative", message);
    return 0;
}
