#pragma once

#include "qastnodecontainer.h"

#include <QStringList>

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

    QStringList _traceFiles;
    QStringList _coverageFiles;
    QString _savedCurrentDir;

private:
    void reportInBatch();
    bool wantsTraceOnTheFly(int flag) const;
    bool wantsCoverageOnTheFly(int flag) const;
};
