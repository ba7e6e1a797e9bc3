#include "qastdatamovedrag.h"

#include "qastdata.h"

#include <cstring>

const char* const QAStDataMoveDrag::mimeType = "velmont-project/item-data";

QAStDataMoveDrag::QAStDataMoveDrag(QAStData* data, QWidget* dragSource, const char* name)
    : dragged(data)
{
    Q_UNUSED(dragSource);
    if (name)
        setObjectName(QString::fromLatin1(name));
    quint64 address = reinterpret_cast<quintptr>(data);
    setData(QString::fromLatin1(mimeType),
            QByteArray(reinterpret_cast<const char*>(&address), sizeof address));
}

const char* QAStDataMoveDrag::format(int index) const
{
    return index == 0 ? mimeType : nullptr;
}

QByteArray QAStDataMoveDrag::encodedData(const char* wanted) const
{
    if (!wanted || std::strcmp(wanted, mimeType) != 0)
        return QByteArray();
    return data(QString::fromLatin1(mimeType));
}

bool QAStDataMoveDrag::canDecode(const QMimeData* mime)
{
    return mime && mime->hasFormat(QString::fromLatin1(mimeType));
}

bool QAStDataMoveDrag::decode(const QMimeData* mime, QAStData** data)
{
    const auto* drag = qobject_cast<const QAStDataMoveDrag*>(mime);
    if (!drag || !data || !drag->dragged)
        return false;
    *data = drag->dragged;
    return true;
}
