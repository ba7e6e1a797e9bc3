#pragma once

#include "qailogmonitor.h"
#include "studiointerface.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <memory>
#include <vector>

/// A host for tests: it answers the staged reference installation for every
/// directory, runs scripts with the staged interpreter command, and records
/// everything the library asks of it.
class RecordingHost : public StudioInterface
{
public:
    struct Message {
        int console;
        QString text;
        bool isError;
    };

    class Console : public QAILogMonitor
    {
    public:
        Console(RecordingHost* host, int id) : host(host), id(id) {}
        void log(const QString& text) override { host->messages.append({id, text, false}); }
        void error(const QString& text) override
        {
            host->messages.append({id, text, true});
            ++errors;
        }
        int errorCount() const override { return errors; }
        void resetError() override { errors = 0; }

    private:
        RecordingHost* host;
        int id;
        int errors = 0;
    };

    RecordingHost();

    /// The staged installation that the build made for the tests.
    static QString stageDir();

    /// Makes this the library's host, with the staged installation's ports
    /// and settings definition loaded; false when either did not load.
    bool initializeLibrary();

    QString installDir() override { return stageDir(); }
    QString scriptsDir() override;
    QString binaryDir() override;
    QString helpDir() override;
    QString targetDir() override;
    QString userName() override { return QStringLiteral("tester"); }
    QStringList perlCommand() override { return perl; }
    int port() override { return 4711; }
    QAILogMonitor* console(int id) override;
    void clearConsole(int id) override { cleared.append(id); }
    void raiseConsole() override { ++raised; }
    QStringList viewerFeatureList() override { return viewers; }
    void openEditor(const QString& pathAndLine, bool readOnly) override;
    QString applicationName() override { return QStringLiteral("Velmont Studio"); }
    bool prepareRun() override
    {
        ++prepared;
        return true;
    }
    /// Records "caption|text" and answers boxAnswer, or the default button
    /// (the first button when there is none) while boxAnswer is 0.
    int messageBox(QMessageBox::Icon icon, const QString& caption, const QString& text,
                   QMessageBox::StandardButtons buttons, QMessageBox::StandardButton defaultButton) override;

    /// Records "caption|label" and answers the next of textAnswers; a null
    /// entry, or none left, is a cancel.
    QString getText(const QString& caption, const QString& label, const QString& text,
                    bool* ok) override;

    /// Records "caption|label|item,item..." and answers the items of
    /// checkAnswers that are offered, or cancels while checkCancels is set.
    QStringList getCheckedItems(const QString& caption, const QString& label, const QStringList& items,
                                bool* ok) override;

    /// The patterns of viewerFilterMap for a viewer listed there; a viewer
    /// opens a window of its own, which the host keeps, when it has files.
    QStringList viewerFilters(const QString& viewer, bool* found) override;
    QWidget* openViewer(const QString& viewer, const QStringList& files, QWidget* window) override;
    void showViewer(QWidget* window) override
    {
        shownViewers << window;
        window->show();
    }

    /// Records "caption|directory|filter" and answers the next of
    /// fileAnswers; none left is a cancel.
    QString getOpenFileName(const QString& caption, const QString& directory, const QString& filter) override;
    /// Records "caption|pageTitle" and answers the next two textAnswers as
    /// the name and the location; a null one is a cancel.
    bool getProjectLocation(const QString& caption, const QString& pageTitle, QString* name,
                            QString* location) override;
    /// Answers the next two textAnswers as the name and the filters.
    bool getFolder(QString* name, QString* filters) override;

    /// Records the name asked for; no picture.
    QPixmap pixmap(const QString& name) override
    {
        pixmapsAsked << name;
        return QPixmap();
    }

    /// All text that reached console \a id, in arrival order.
    QString consoleText(int id, bool errorsOnly = false) const;

    QStringList perl;
    QStringList viewers;
    QStringList pixmapsAsked;
    QList<Message> messages;
    QList<int> cleared;
    QStringList editorRequests;
    QStringList boxes;
    QStringList textAnswers;
    QStringList textQuestions;
    QStringList checkAnswers;
    QStringList checkQuestions;
    bool checkCancels = false;
    QMap<QString, QStringList> viewerFilterMap;
    /// "viewer: file file..." for each window opened or refilled.
    QStringList viewerRequests;
    QList<QWidget*> shownViewers;
    std::vector<std::unique_ptr<QWidget>> viewerWindows;
    QStringList fileAnswers;
    int boxAnswer = 0;
    int raised = 0;
    int prepared = 0;

private:
    Console buildConsole {this, 0};
    Console messageConsole {this, 1};
};

/// Turns Qt's "Destroyed while process ... is still running" warning into a
/// test failure: a test must never leave a child process behind an object.
void installProcessLeakGuard();
