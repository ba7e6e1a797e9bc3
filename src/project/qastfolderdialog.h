#pragma once

#include "sdk_export.h"

#include <QDialog>

class QLineEdit;
class QPushButton;

/// Asks for the name and the wildcard filters of a new folder of the file
/// tree. The default button stays disabled while the name is empty, so that
/// Return never makes a folder without a name.
class SDK_EXPORT QAStFolderDialog : public QDialog
{
    Q_OBJECT
public:
    explicit QAStFolderDialog(QWidget* parent = nullptr);

    QString folderName() const;
    QString filters() const;
    void setFolderName(const QString& name);
    void setFilters(const QString& filters);

    QLineEdit* nameEdit() const { return _name; }
    QLineEdit* filtersEdit() const { return _filters; }
    QPushButton* okButton() const { return _ok; }
    QPushButton* cancelButton() const { return _cancel; }

private:
    void updateButtons();

    QLineEdit* _name;
    QLineEdit* _filters;
    QPushButton* _ok;
    QPushButton* _cancel;
};
