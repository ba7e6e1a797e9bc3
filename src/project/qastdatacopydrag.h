#pragma once

#include "sdk_export.h"

#include <QMimeData>

class QWidget;

/// The text of a tree object, carried by a drag that copies it.
///
/// Its one format is "text/item-copy-data", so that a drop tells a copy from
/// a plain text by the format's name alone.
class SDK_EXPORT QAStDataCopyDrag : public QMimeData
{
    Q_OBJECT
public:
    static const char* const mimeType;

    explicit QAStDataCopyDrag(const QString& text, QWidget* dragSource = nullptr,
                              const char* name = nullptr);

    /// The text of \a mime when its first format is a copy of a tree object.
    static bool decode(const QMimeData* mime, QString& text);
};
