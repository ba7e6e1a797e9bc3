#include "qalogmessagebox.h"

#include <QMessageBox>

QALogMessageBox::QALogMessageBox(const QString& caption, QWidget* parent)
    : _caption(caption), _parent(parent)
{
}

void QALogMessageBox::log(const QString& text)
{
    QMessageBox::warning(_parent, _caption, text);
}

void QALogMessageBox::error(const QString& text)
{
    QMessageBox::critical(_parent, _caption, text);
    ++_errorCount;
}

int QALogMessageBox::errorCount() const
{
    return _errorCount;
}

void QALogMessageBox::resetError()
{
    _errorCount = 0;
}
