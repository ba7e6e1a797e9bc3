#include "qapropertypathitemwidget.h"

#include "qapropertypathitem.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QToolButton>

QAPropertyPathItemWidget::QAPropertyPathItemWidget(QAPropertyPathItem* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _path(property), _lineEdit(new QLineEdit(this))
{
    setEditor(_lineEdit);
    auto* browseButton = new QToolButton(this);
    browseButton->setObjectName(QStringLiteral("browse"));
    browseButton->setText(QStringLiteral("..."));
    browseButton->setToolTip(tr("Browse"));
    addEditorPart(browseButton);
    updateValue();
    connect(browseButton, &QToolButton::clicked, this, qOverload<>(&QAPropertyPathItemWidget::browse));
    connect(_lineEdit, &QLineEdit::editingFinished, this, [this] {
        if (!isUpdating() && _lineEdit->isModified()) {
            commit(_lineEdit->text());
            updateValue();
        }
    });
}

QStringList QAPropertyPathItemWidget::browse(QWidget* parent, int mode, const QStringList& extensions,
                                             const QString& directory)
{
    QFileDialog dialog(parent, QString(), directory);
    switch (mode) {
    case QAPropertyPathItem::AnyFile:
        dialog.setFileMode(QFileDialog::AnyFile);
        break;
    case QAPropertyPathItem::Directory:
        dialog.setFileMode(QFileDialog::Directory);
        break;
    case QAPropertyPathItem::ExistingFiles:
        dialog.setFileMode(QFileDialog::ExistingFiles);
        break;
    case QAPropertyPathItem::DirectoryOnly:
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly);
        break;
    default:
        dialog.setFileMode(QFileDialog::ExistingFile);
        break;
    }
    if (!extensions.isEmpty())
        dialog.setNameFilters(extensions);
    if (dialog.exec() != QDialog::Accepted)
        return QStringList();
    return dialog.selectedFiles();
}

void QAPropertyPathItemWidget::browse()
{
    QString directory = _path->basePath();
    const QString current = _lineEdit->text();
    if (!current.isEmpty()) {
        const QFileInfo info(QDir(directory).filePath(current));
        directory = info.isDir() ? info.filePath() : info.path();
    }
    // A dialog that chooses several files still sets one path here: the first.
    const QStringList chosen = browse(this, _path->mode(), _path->fileExtensions(), directory);
    if (chosen.isEmpty())
        return;
    commit(chosen.first());
    updateValue();
}

void QAPropertyPathItemWidget::showValue(const QVariant& value)
{
    _lineEdit->setText(value.toString());
}
