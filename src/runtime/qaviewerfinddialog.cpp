#include "qaviewerfinddialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QAViewerFindDialog::QAViewerFindDialog(QWidget* parent, const char* name)
    : QDialog(parent),
      _text(new QLineEdit(this)),
      _caseSensitive(new QCheckBox(tr("&Case sensitive"), this)),
      _wholeWord(new QCheckBox(tr("&Whole words only"), this)),
      _backward(new QCheckBox(tr("Search &backward"), this))
{
    setObjectName(QString::fromLatin1(name));
    setWindowTitle(tr("Find"));

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* find = buttons->addButton(tr("&Find"), QDialogButtonBox::ActionRole);
    find->setDefault(true);
    buttons->addButton(QDialogButtonBox::Close);
    connect(find, &QPushButton::clicked, this, &QAViewerFindDialog::emitSearch);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* form = new QFormLayout;
    form->addRow(tr("Find:"), _text);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(_caseSensitive);
    layout->addWidget(_wholeWord);
    layout->addWidget(_backward);
    layout->addWidget(buttons);
}

QString QAViewerFindDialog::text() const
{
    return _text->text();
}

void QAViewerFindDialog::setText(const QString& text)
{
    _text->setText(text);
    _text->selectAll();
}

void QAViewerFindDialog::emitSearch()
{
    if (_text->text().isEmpty())
        return;
    emit search(_text->text(), _caseSensitive->isChecked(), _wholeWord->isChecked(),
                _backward->isChecked());
}
