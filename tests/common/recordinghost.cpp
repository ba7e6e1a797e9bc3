#include "recordinghost.h"

#include "qastconfiguration.h"
#include "qastdata.h"
#include "qastprojectpref.h"
#include "qasttargetpackagelist.h"

#include <QDir>
#include <QTest>
#include <QWidget>

#include <cstdio>

RecordingHost::RecordingHost()
{
    perl = QStringList{binaryDir() + QStringLiteral("/Velmontperl"), QStringLiteral("-I"),
                       stageDir() + QStringLiteral("/lib/perl")};
}

bool RecordingHost::initializeLibrary()
{
    QAStData::initialize(this);
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(targetDir()));
    return QAStTargetPackageList::initialize(this) && QAStConfiguration::initialize(this);
}

QString RecordingHost::stageDir()
{
    return QStringLiteral(SDK_TEST_STAGE_DIR);
}

QString RecordingHost::scriptsDir()
{
    return stageDir() + QStringLiteral("/lib/scripts");
}

QString RecordingHost::binaryDir()
{
    return stageDir() + QStringLiteral("/bin/linux/x86_64");
}

QString RecordingHost::helpDir()
{
    return stageDir() + QStringLiteral("/doc");
}

QString RecordingHost::targetDir()
{
    return stageDir() + QStringLiteral("/targets");
}

QAILogMonitor* RecordingHost::console(int id)
{
    if (id == 0)
        return &buildConsole;
    if (id == 1)
        return &messageConsole;
    return nullptr;
}

void RecordingHost::openEditor(const QString& pathAndLine, bool readOnly)
{
    editorRequests.append(pathAndLine + (readOnly ? QStringLiteral(" (read-only)") : QString()));
}

int RecordingHost::messageBox(QMessageBox::Icon, const QString& caption, const QString& text,
                              QMessageBox::StandardButtons buttons,
                              QMessageBox::StandardButton defaultButton)
{
    boxes.append(caption + QLatin1Char('|') + text);
    if (boxAnswer != 0)
        return boxAnswer;
    if (defaultButton != QMessageBox::NoButton)
        return defaultButton;
    for (unsigned bit = 1; bit; bit <<= 1) {
        if (buttons.toInt() & bit)
            return int(bit);
    }
    return QMessageBox::Ok;
}

QString RecordingHost::consoleText(int id, bool errorsOnly) const
{
    QString text;
    for (const Message& message : messages) {
        if (message.console == id && (!errorsOnly || message.isError))
            text += message.text;
    }
    return text;
}

namespace {

QtMessageHandler previousHandler = nullptr;

void processLeakHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.contains(QLatin1String("Destroyed while process"))) {
        std::fprintf(stderr, "FAIL: %s\n", qPrintable(message));
        std::fflush(stderr);
        std::abort();
    }
    if (previousHandler)
        previousHandler(type, context, message);
}

} // namespace

void installProcessLeakGuard()
{
    previousHandler = qInstallMessageHandler(processLeakHandler);
}

QString RecordingHost::getText(const QString& caption, const QString& label, const QString&, bool* ok)
{
    textQuestions << caption + QLatin1Char('|') + label;
    const QString answer = textAnswers.isEmpty() ? QString() : textAnswers.takeFirst();
    if (ok)
        *ok = !answer.isNull();
    return answer;
}

QStringList RecordingHost::getCheckedItems(const QString& caption, const QString& label,
                                           const QStringList& items, bool* ok)
{
    checkQuestions << caption + QLatin1Char('|') + label + QLatin1Char('|') + items.join(QLatin1Char(','));
    if (ok)
        *ok = !checkCancels;
    QStringList checked;
    for (const QString& item : items) {
        if (checkAnswers.contains(item))
            checked << item;
    }
    return checked;
}

QStringList RecordingHost::viewerFilters(const QString& viewer, bool* found)
{
    if (found)
        *found = viewerFilterMap.contains(viewer);
    return viewerFilterMap.value(viewer);
}

QWidget* RecordingHost::openViewer(const QString& viewer, const QStringList& files, QWidget* window)
{
    // Only the viewers that the host says it has can open.
    if (!viewers.contains(viewer))
        return nullptr;
    viewerRequests << viewer + QLatin1String(": ") + files.join(QLatin1Char(' '))
            + (window ? QStringLiteral(" (again)") : QString());
    if (window)
        return window;
    viewerWindows.push_back(std::make_unique<QWidget>());
    return viewerWindows.back().get();
}

QString RecordingHost::getOpenFileName(const QString& caption, const QString& directory, const QString& filter)
{
    textQuestions << caption + QLatin1Char('|') + directory + QLatin1Char('|') + filter;
    return fileAnswers.isEmpty() ? QString() : fileAnswers.takeFirst();
}

bool RecordingHost::getProjectLocation(const QString& caption, const QString& pageTitle, QString* name,
                                       QString* location)
{
    textQuestions << caption + QLatin1Char('|') + pageTitle;
    bool ok = false;
    *name = getText(caption, QStringLiteral("name"), QString(), &ok);
    if (ok)
        *location = getText(caption, QStringLiteral("location"), QString(), &ok);
    return ok;
}

bool RecordingHost::getFolder(QString* name, QString* filters)
{
    bool ok = false;
    *name = getText(QStringLiteral("Folder Properties"), QStringLiteral("Folder name:"), QString(), &ok);
    if (ok)
        *filters = getText(QStringLiteral("Folder Properties"), QStringLiteral("Folder filters:"), QString(), &ok);
    return ok;
}
