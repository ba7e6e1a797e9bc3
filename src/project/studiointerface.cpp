#include "studiointerface.h"

#include "qastfolderdialog.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWizard>
#include <QWizardPage>

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

QStringList StudioInterface::getCheckedItems(const QString& caption, const QString& label,
                                             const QStringList& items, bool* ok)
{
    QDialog dialog(mainWindow());
    dialog.setWindowTitle(caption);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new QLabel(label, &dialog));
    auto* list = new QListWidget(&dialog);
    for (const QString& text : items) {
        auto* item = new QListWidgetItem(text, list);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Unchecked);
    }
    layout->addWidget(list);
    auto* buttons = new QDialogButtonBox(&dialog);
    buttons->addButton(QDialog::tr("&Ok"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QDialog::tr("&Cancel"), QDialogButtonBox::RejectRole);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);

    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (ok)
        *ok = accepted;
    QStringList checked;
    if (!accepted)
        return checked;
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->checkState() == Qt::Checked)
            checked << list->item(row)->text();
    }
    return checked;
}

QStringList StudioInterface::viewerFilters(const QString&, bool* found)
{
    if (found)
        *found = false;
    return QStringList();
}

QWidget* StudioInterface::openViewer(const QString&, const QStringList&, QWidget*) { return nullptr; }
void StudioInterface::showViewer(QWidget*) {}
void StudioInterface::setUpdatesEnabled(bool) {}

QString StudioInterface::getOpenFileName(const QString& caption, const QString& directory,
                                         const QString& filter)
{
    return QFileDialog::getOpenFileName(mainWindow(), caption, directory, filter);
}

bool StudioInterface::getProjectLocation(const QString& caption, const QString& pageTitle, QString* name,
                                         QString* location)
{
    QWizard wizard(mainWindow());
    wizard.setWindowTitle(caption);
    auto* page = new QWizardPage;
    page->setTitle(pageTitle);
    auto* form = new QFormLayout(page);
    auto* nameEdit = new QLineEdit(page);
    auto* locationEdit = new QLineEdit(page);
    form->addRow(QWizard::tr("Name:"), nameEdit);
    form->addRow(QWizard::tr("Location:"), locationEdit);
    wizard.addPage(page);
    if (wizard.exec() != QDialog::Accepted)
        return false;
    *name = nameEdit->text().trimmed();
    *location = locationEdit->text().trimmed();
    return true;
}

bool StudioInterface::getFolder(QString* name, QString* filters)
{
    QAStFolderDialog dialog(mainWindow());
    if (dialog.exec() != QDialog::Accepted)
        return false;
    *name = dialog.folderName();
    *filters = dialog.filters();
    return true;
}

void StudioInterface::progressStart(qint64, const QString&, const QString&, QObject*) {}

void StudioInterface::progressStep(qint64) {}

void StudioInterface::progressEnd() {}
