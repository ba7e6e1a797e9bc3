#include "qasttdpmanager.h"

#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QTextEdit>
#include <QUrl>
#include <QVBoxLayout>

namespace {

const char* const detailsKey = "/QATDPDialog/details_open";

QString line(const QString& label, const QString& value)
{
    return label + QStringLiteral(" : <b>") + value.toHtmlEscaped() + QStringLiteral("</b><br>");
}

} // namespace

QASTTDPManager::QASTTDPManager(QWidget* parent)
    : QDialog(parent),
      list(new QListWidget(this)),
      details(new QTextEdit(this)),
      closeButton(new QPushButton(tr("&Close"), this)),
      reloadButton(new QPushButton(tr("&Reload"), this)),
      detailsButton(new QPushButton(tr("&Details"), this)),
      helpButton(new QPushButton(tr("&Help"), this))
{
    setWindowTitle(tr("Target Deployment Ports"));
    resize(560, 460);
    details->setReadOnly(true);
    details->setAcceptRichText(true);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(closeButton);
    buttons->addWidget(reloadButton);
    buttons->addWidget(detailsButton);
    buttons->addStretch();
    buttons->addWidget(helpButton);
    auto* top = new QHBoxLayout;
    top->addWidget(list);
    top->addLayout(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(details);

    connect(closeButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(reloadButton, &QPushButton::clicked, this, &QASTTDPManager::reload);
    connect(detailsButton, &QPushButton::clicked, this, &QASTTDPManager::toggleDetails);
    connect(helpButton, &QPushButton::clicked, this, &QASTTDPManager::showHelp);
    connect(list, &QListWidget::currentRowChanged, this, &QASTTDPManager::showDetails);

    // A list that takes the focus makes its first row current: the dialog
    // opens with nothing selected.
    closeButton->setDefault(true);
    closeButton->setFocus();
    setDetailsOpen(QSettings().value(QLatin1String(detailsKey), false).toBool());
    fill();
}

bool QASTTDPManager::isDetailsOpen() const
{
    return !details->isHidden();
}

void QASTTDPManager::reload()
{
    // The ports die with the old list: the box must not outlive them.
    list->clear();
    QAStTargetPackageList::initialize(QAStTargetPackageList::studio());
    fill();
}

void QASTTDPManager::toggleDetails()
{
    setDetailsOpen(!isDetailsOpen());
    QSettings().setValue(QLatin1String(detailsKey), isDetailsOpen());
}

void QASTTDPManager::showHelp()
{
    QDesktopServices::openUrl(QUrl(QStringLiteral("help://#tdp-dialog")));
}

void QASTTDPManager::fill()
{
    list->clear();
    if (const QAStTargetPackageList* ports = QAStTargetPackageList::installTargetPackages())
        for (const QAStTargetPackage* port : *ports)
            list->addItem(port->name);
    // The view makes its first row current on its own; nothing is selected
    // until the user picks a port.
    list->setCurrentRow(-1);
    showDetails();
}

void QASTTDPManager::setDetailsOpen(bool open)
{
    details->setVisible(open);
}

void QASTTDPManager::showDetails()
{
    const QAStTargetPackageList* ports = QAStTargetPackageList::installTargetPackages();
    const int row = list->currentRow();
    if (!ports || row < 0 || row >= ports->size()) {
        details->setHtml(tr("Select a Target Deplyment Port first to show the details"));
        return;
    }
    const QAStTargetPackage* port = ports->at(row);
    const QString separator = QStringLiteral(", ");
    QString text;
    text += line(tr("Name"), port->name);
    text += line(tr("Path"), port->directory);
    text += line(tr("Full Path"), port->fullPath);
    text += line(tr("Ini filename"), port->iniFile);
    text += line(tr("Language"), port->language);
    text += line(tr("Object extension"), port->objectExt);
    text += line(tr("Static library extension"), port->libExt);
    text += line(tr("Dynamic library extension"), port->dllExt);
    text += line(tr("Executable extension"), port->exeExt);
    text += line(tr("Source extension"), port->srcExt);
    text += line(tr("CPPFLAGS"), port->cppFlags);
    text += line(tr("CFLAGS"), port->cFlags);
    text += line(tr("Test Compiler flags"), port->defines);
    text += line(tr("LDFLAGS"), port->ldFlags);
    text += line(tr("Libraries"), port->libs);
    text += line(tr("Include Paths"), port->includePaths.join(separator));
    text += line(tr("Library Paths"), port->libraryPaths.join(separator));
    text += line(tr("Boot class Path"), port->bootClassPath.join(separator));
    text += line(tr("J2me restriction"), port->j2meRestriction ? tr("true") : tr("false"));
    text += line(tr("Runtime Analysis mode"), QStringLiteral("0x%1").arg(port->flags, 0, 16));
    details->setHtml(text);
}
