#pragma once

#include "qapropertylistboxwidget.h"

class QAPropertyPathBox;

/// Edits a list of paths: the list editor with the path box's own button
/// set, whose add button chooses paths in a file dialog.
class SDK_EXPORT QAPropertyPathBoxWidget : public QAPropertyListBoxWidget
{
    Q_OBJECT
public:
    explicit QAPropertyPathBoxWidget(QAPropertyPathBox* property, QWidget* parent = nullptr);

public slots:
    void addItems() override;

private:
    QAPropertyPathBox* _paths;
};
