#pragma once

#include "qapropertywidget.h"

#include <QStringList>

class QAPropertyPathItem;
class QLineEdit;
class QToolButton;

/// Edits a path property: a line edit, written when editing ends, and a
/// button that chooses the path in a file dialog.
class SDK_EXPORT QAPropertyPathItemWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyPathItemWidget(QAPropertyPathItem* property, QWidget* parent = nullptr);

    /// Asks the user for paths in a file dialog of \a mode (a
    /// QAPropertyPathItem::Mode) with the name filters \a extensions, starting
    /// in \a directory. Empty when the user cancelled.
    static QStringList browse(QWidget* parent, int mode, const QStringList& extensions,
                              const QString& directory);

public slots:
    void browse();

protected:
    void showValue(const QVariant& value) override;

private:
    QAPropertyPathItem* _path;
    QLineEdit* _lineEdit;
};
