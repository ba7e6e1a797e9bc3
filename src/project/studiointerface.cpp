#include "studiointerface.h"

#include <QInputDialog>
#include <QMessageBox>

StudioInterface::~StudioInterface() = default;

QWidget* StudioInterface::mainWindow() { return nullptr; }
QString StudioInterface::installDir() { return QString(); }
QString StudioInterface::scriptsDir() { return QString(); }
QString StudioInterface::binaryDir() { return QString(); }
QString StudioInterface::helpDir() { return QString(); }
QString StudioInterface::targetDir() { return QString(); }
QString StudioInterface::userName() { return QString(); }
QString StudioInterface::cmsTool() { return QString(); }
QString StudioInterface::dataDir() { return installDir(); }
QString StudioInterface::csvSeparator() { return QStringLiteral(","); }
QString StudioInterface::csvDecimalSeparator() { return QStringLiteral("."); }
// No grouping of digits unless asked for: such tables read back as numbers.
QString StudioInterface::csvThousandSeparator() { return QString(); }
QStringList StudioInterface::perlCommand() { return QStringList(QString()); }
int StudioInterface::port() { return -1; }
QPixmap StudioInterface::pixmap(const QString&) { return QPixmap(); }
QAILogMonitor* StudioInterface::console(int) { return nullptr; }
void StudioInterface::clearConsole(int) {}
void StudioInterface::raiseConsole() {}
QStringList StudioInterface::viewerFeatureList() { return QStringList(); }
void StudioInterface::registerPreferencePage(QAStProjectPref*) {}
void StudioInterface::openEditor(const QString&, bool) {}
QString StudioInterface::applicationName() { return QString(); }
bool StudioInterface::prepareRun() { return true; }

int StudioInterface::messageBox(QMessageBox::Icon icon, const QString& caption, const QString& text,
                                QMessageBox::StandardButtons buttons,
                                QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(icon, caption, text, buttons, mainWindow());
    box.setDefaultButton(defaultButton);
    return box.exec();
}

QString StudioInterface::getText(const QString& caption, const QString& label, const QString& text,
                                 bool* ok)
{
    return QInputDialog::getText(mainWindow(), caption, label, QLineEdit::Normal, text, ok);
}
