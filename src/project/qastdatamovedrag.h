#pragma once

#include "sdk_export.h"

#include <QMimeData>
#include <QPointer>

class QAStData;
class QWidget;

/// A tree object carried by a drag that moves it.
///
/// The payload is the object's address, so a move works only inside one
/// process. The object is also held through a guard: a drop decodes the
/// guard, never the bytes, so an object deleted during the drag, or a foreign
/// drag that claims the format, gives nothing instead of a wild pointer.
class SDK_EXPORT QAStDataMoveDrag : public QMimeData
{
    Q_OBJECT
public:
    static const char* const mimeType;

    explicit QAStDataMoveDrag(QAStData* data, QWidget* dragSource = nullptr,
                              const char* name = nullptr);

    const char* format(int index) const;
    QByteArray encodedData(const char* format) const;

    static bool canDecode(const QMimeData* mime);
    static bool decode(const QMimeData* mime, QAStData** data);

private:
    QPointer<QAStData> dragged;
};
