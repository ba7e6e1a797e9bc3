#include "qastfolderdialog.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QAStFolderDialog::QAStFolderDialog(QWidget* parent)
    : QDialog(parent),
      _name(new QLineEdit(this)),
      _filters(new QLineEdit(this)),
      _ok(new QPushButton(tr("&OK"), this)),
      _cancel(new QPushButton(tr("&Cancel"), this))
{
    setObjectName(QStringLiteral("folder dialog"));
    setWindowTitle(tr("Folder Properties"));
    _name->setObjectName(QStringLiteral("name"));
    _filters->setObjectName(QStringLiteral("filters"));

    auto* form = new QFormLayout;
    form->addRow(tr("Folder name:"), _name);
    form->addRow(tr("Folder filters:"), _filters);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(_ok);
    buttons->addWidget(_cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);

    _ok->setDefault(true);
    connect(_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(_name, &QLineEdit::textChanged, this, &QAStFolderDialog::updateButtons);
    updateButtons();
}

QString QAStFolderDialog::folderName() const
{
    return _name->text().trimmed();
}

QString QAStFolderDialog::filters() const
{
    return _filters->text().trimmed();
}

void QAStFolderDialog::setFolderName(const QString& name)
{
    _name->setText(name);
}

void QAStFolderDialog::setFilters(const QString& filters)
{
    _filters->setText(filters);
}

// A name of blanks alone is no name.
void QAStFolderDialog::updateButtons()
{
    _ok->setEnabled(!folderName().isEmpty());
}
