#pragma once

#include "qaproperty.h"

#include <QStringList>

/// A file or directory setting: a line of text with a browse button.
class SDK_EXPORT QAPropertyPathItem : public QAProperty
{
public:
    /// How the file dialog chooses; the numbers are those of definition files.
    enum Mode { AnyFile = 0, ExistingFile = 1, Directory = 2, ExistingFiles = 3, DirectoryOnly = 4 };

    explicit QAPropertyPathItem(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// The directory that relative paths start from; null for none.
    virtual QString basePath() const;

    int mode() const { return _mode; }
    void setMode(int mode) { _mode = mode; }
    QStringList fileExtensions() const { return _fileExtensions; }
    void setFileExtensions(const QStringList& extensions) { _fileExtensions = extensions; }

private:
    int _mode = ExistingFile;
    QStringList _fileExtensions;
};
