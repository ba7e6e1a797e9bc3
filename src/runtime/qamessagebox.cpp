#include "qamessagebox.h"

#include <QMessageBox>
#include <QPushButton>

#include <cstdio>

int QAMessageBox::warning(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                          int button0, int button1, int button2)
{
    return dialog ? _dialogMessageBox(parent, caption, text, button0, button1, button2)
                  : _consoleMessageBox(text);
}

int QAMessageBox::information(QWidget* parent, bool dialog, const QString& caption,
                              const QString& text, int button0, int button1, int button2)
{
    return warning(parent, dialog, caption, text, button0, button1, button2);
}

int QAMessageBox::critical(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                           int button0, int button1, int button2)
{
    return warning(parent, dialog, caption, text, button0, button1, button2);
}

int QAMessageBox::question(QWidget* parent, bool dialog, const QString& caption, const QString& text,
                           int button0, int button1, int button2)
{
    return warning(parent, dialog, caption, text, button0, button1, button2);
}

int QAMessageBox::_dialogMessageBox(QWidget* parent, const QString& caption, const QString& text,
                                    int button0, int button1, int button2)
{
    QMessageBox box(QMessageBox::Warning, caption, text, QMessageBox::NoButton, parent);
    for (const int button : {button0, button1, button2}) {
        const auto standard = QMessageBox::StandardButton(button & QMessageBox::ButtonMask);
        if (standard == QMessageBox::NoButton)
            continue;
        QPushButton* added = box.addButton(standard);
        if (!added)
            continue;
        if (button & QMessageBox::Default)
            box.setDefaultButton(added);
        if (button & QMessageBox::Escape)
            box.setEscapeButton(added);
    }
    if (box.buttons().isEmpty())
        box.addButton(QMessageBox::Ok);
    return box.exec();
}

int QAMessageBox::_consoleMessageBox(const QString& text)
{
    const QByteArray line = (tr("Warning") + QLatin1Char(':') + text + QLatin1Char('\n')).toLocal8Bit();
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    std::fflush(stderr);
    return 1;
}
