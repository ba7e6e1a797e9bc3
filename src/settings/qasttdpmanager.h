#pragma once

#include "sdk_export.h"

#include <QDialog>

class QListWidget;
class QPushButton;
class QTextEdit;

/// Shows the installed ports: their names in a list and the details of the
/// selected one. Reload rebuilds the installed list; whether the details are
/// open is remembered in the application settings.
class SDK_EXPORT QASTTDPManager : public QDialog
{
    Q_OBJECT
public:
    explicit QASTTDPManager(QWidget* parent = nullptr);

    QListWidget* portList() const { return list; }
    QTextEdit* detailsView() const { return details; }
    bool isDetailsOpen() const;

public slots:
    void reload();
    void toggleDetails();
    void showHelp();

private slots:
    void showDetails();

private:
    void fill();
    void setDetailsOpen(bool open);

    QListWidget* list;
    QTextEdit* details;
    QPushButton* closeButton;
    QPushButton* reloadButton;
    QPushButton* detailsButton;
    QPushButton* helpButton;
};
