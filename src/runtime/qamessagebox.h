#pragma once

#include "sdk_export.h"

#include <QCoreApplication>
#include <QString>

class QWidget;

/// Message boxes that a batch run answers by itself. With \a dialog true a box
/// is shown and the button pressed is answered; with it false one line goes to
/// standard error and the answer is 1, so that a batch run never blocks. By
/// convention \a dialog is the opposite of QAStProject::modeBatch().
///
/// Buttons are QMessageBox::StandardButton values, each optionally or-ed with
/// QMessageBox::Default or QMessageBox::Escape; 0 stands for no button. The
/// box is a warning box whichever operation shows it: callers have always
/// picked the operation by its meaning, and the box looked the same.
class SDK_EXPORT QAMessageBox
{
    Q_DECLARE_TR_FUNCTIONS(QAMessageBox)
public:
    static int warning(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                       int button0, int button1 = 0, int button2 = 0);
    static int information(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                           int button0, int button1 = 0, int button2 = 0);
    static int critical(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                        int button0, int button1 = 0, int button2 = 0);
    static int question(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                        int button0, int button1 = 0, int button2 = 0);

private:
    static int _dialogMessageBox(QWidget* parent, const QString& caption, const QString& text,
                                 int button0, int button1, int button2);
    static int _consoleMessageBox(const QString& text);
};
