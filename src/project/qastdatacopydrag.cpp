#include "qastdatacopydrag.h"

const char* const QAStDataCopyDrag::mimeType = "text/item-copy-data";

QAStDataCopyDrag::QAStDataCopyDrag(const QString& text, QWidget* dragSource, const char* name)
{
    Q_UNUSED(dragSource);
    if (name)
        setObjectName(QString::fromLatin1(name));
    setData(QString::fromLatin1(mimeType), text.toUtf8());
}

bool QAStDataCopyDrag::decode(const QMimeData* mime, QString& text)
{
    if (!mime)
        return false;
    const QString format = mime->formats().value(0);
    if (!format.contains(QLatin1String("item-copy-data")))
        return false;
    text = QString::fromUtf8(mime->data(format));
    return true;
}
