#pragma once

#include "sdk_export.h"

#include <QDialog>

class QCheckBox;
class QLineEdit;

/// The find dialog of the text views: it asks for a text and its options, and
/// emits search() for each press of Find until it is closed.
class SDK_EXPORT QAViewerFindDialog : public QDialog
{
    Q_OBJECT
public:
    explicit QAViewerFindDialog(QWidget* parent = nullptr, const char* name = nullptr);

    QString text() const;
    void setText(const QString& text);

signals:
    void search(const QString& text, bool caseSensitive, bool wholeWord, bool backward);

private:
    void emitSearch();

    QLineEdit* _text;
    QCheckBox* _caseSensitive;
    QCheckBox* _wholeWord;
    QCheckBox* _backward;
};
