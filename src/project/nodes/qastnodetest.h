#pragma once

#include "qastnodecontainer.h"

#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <memory>

class QASTSplitSurvey;

/// The base of every node that builds a test program from its children and
/// then runs it. Building walks the children as any container does; this
/// class adds the run: one script that sees only the execution steps of the
/// node's settings, the verdict read from the report the run left, and the
/// rule that decides whether the program must be linked again.
class SDK_EXPORT QAStNodeTest : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeTest(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
                 QAStData* after = nullptr);
    QAStNodeTest(const QDomElement& element, int version, QAStData* parent = nullptr,
                 QAStData* after = nullptr);
    QAStNodeTest(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStNodeTest() override;

    /// The absolute name of the program that the run starts; null without
    /// a configuration.
    Q_INVOKABLE virtual QString binaryTester();
    /// Points where the run-time viewers that follow a running test start;
    /// \a files receives what they will read.
    virtual void traceOnTheFly(QStringList& files);
    virtual void coverageOnTheFly(QStringList& files);
    virtual void memvexJava(QString* tsf, QString* tpf);

    /// Starts splitting the run's stream into the trace, coverage and other
    /// outputs while the program runs; true at once when it already runs.
    /// False without a studio or a configuration.
    bool startOnTheFlySurvey();
    /// Splits what the stream still holds, then ends the splitting.
    virtual void stopOnTheFlySurvey();
    /// The splitter of the run under way, null when none runs.
    QASTSplitSurvey* splitSurvey() const { return _splitSurvey.get(); }
    /// What the viewers that followed the last run read.
    QStringList traceFiles() const { return _traceFiles; }
    QStringList coverageFiles() const { return _coverageFiles; }

    bool acceptDrop(QAStData* data) const override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void write(QTextStream& stream, int indent) override;
    bool isNodeExecutable() override;
    bool mustRebuilt() override;
    QList<QAStNode*> childrenToExecute() override;
    void executeAfterChildren(bool debug) override;

    /// The names from the top of the tree down to this node, joined by dots.
    QString dottedTitle() const;
    /// The first element named \a tag in \a element or below it, searched
    /// depth first; null when there is none.
    static QDomElement _searchChildElement(const QDomElement& element, const QString& tag);

public slots:
    virtual void testerNodeTerminated();

protected:
    void init(const QDomElement& element, int version);
    /// The verdict of the report the run left: a failed test makes the
    /// node's result ExecutionTestFailed. A report that cannot be read
    /// changes nothing.
    void readVerdict();
    bool isJavaTesting() const;
    int language() const;

    std::unique_ptr<QASTSplitSurvey> _splitSurvey;
    /// The windows of the viewers that followed this node's runs, by feature.
    QHash<QString, QPointer<QWidget>> _viewers;
    std::unique_ptr<QASTSplitSurvey> _javaSplitSurvey;
    QStringList _traceFiles;
    QStringList _coverageFiles;
    QString _savedCurrentDir;

private:
    void reportInBatch();
    /// Follows the run's \a output for the viewer plug-in \a feature: \a
    /// files receives it, or the out files of \a fallbackType when the
    /// splitter cannot run. \a messages are shown under \a caption when
    /// nothing can be viewed, the first when \a describedType's files exist.
    /// True when a viewer window shows them.
    bool followOnTheFly(const QString& feature, const QString& caption, const QString& output,
                        const QString& fallbackType, const QString& describedType, const QStringList& messages,
                        QStringList& files);
    bool wantsTraceOnTheFly(int flag) const;
    bool wantsCoverageOnTheFly(int flag) const;
};
