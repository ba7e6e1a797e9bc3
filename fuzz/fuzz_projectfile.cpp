// Fuzzes the reading of project files: arbitrary bytes are parsed as XML,
// read into a project through the element factory, and written back. The
// written text must parse again, and from the second writing on the text must
// stay the same: whatever a file held, what the library writes is stable.
//
// The same bytes also go through the clipboard's path, the factory on the
// document element alone. The library's own parser must take and refuse what
// the document's parser does, with the same tree; tags of older files that no
// XML reader accepts, "< st_dtrack>", are renamed first, and only those.

#include "projectfiles.h"
#include "qastdata.h"
#include "qastproject.h"
#include "qaxml.h"

#include <QBuffer>
#include <QByteArray>
#include <QDomDocument>
#include <QGuiApplication>
#include <QTextStream>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

QString written(QAStData* data)
{
    QString text;
    QTextStream stream(&text);
    data->write(stream, 0);
    stream.flush();
    return text;
}

void fail(const char* what, const QString& text)
{
    std::fprintf(stderr, "property failed: %s\n%s\n", what, text.toUtf8().constData());
    std::abort();
}

QString rewritten(const QString& text)
{
    QDomDocument document;
    if (!document.setContent(text))
        fail("the written project does not parse", text);
    QAStProject project(QStringLiteral("fuzz"), QPixmap());
    project.init(document.documentElement());
    return written(&project);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // Tree objects carry pixmaps, which need a GUI application, not a screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QDomDocument strict;
    const bool wellFormed = bool(strict.setContent(bytes));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QDomDocument own;
    if (QAStData::parseDocument(&buffer, own) != wellFormed)
        fail("the library's parser and the document's disagree on whether the text parses",
             QString::fromUtf8(bytes));
    if (wellFormed && documentBody(own) != documentBody(strict))
        fail("the library's parser builds another tree than the document's", QString::fromUtf8(bytes));
    // The renaming of older tags touches nothing else: a document that
    // parses as it is comes out the same.
    QDomDocument document;
    if (!QAXML::parse(document, bytes)) {
        if (wellFormed)
            fail("a well-formed document is refused", QString::fromUtf8(bytes));
        return 0;
    }
    if (wellFormed && documentBody(document) != documentBody(strict))
        fail("a well-formed document is read otherwise", QString::fromUtf8(bytes));
    QAStData::clearLastErrorString();

    QAStProject project(QStringLiteral("fuzz"), QPixmap());
    project.init(document.documentElement());
    const QString first = written(&project);
    const QString second = rewritten(first);
    if (rewritten(second) != second)
        fail("a written project changes when read and written again", second);

    delete QAStData::stringContentToData(QString::fromUtf8(bytes));
    return 0;
}
