#pragma once

#include "qastnode.h"

#include <QPointer>

class QAProcess;

/// A command line that the user typed, run in the node's directory by a
/// process of the node's own when the node builds or executes. Its output
/// goes to the console unless the user redirects it elsewhere; in background
/// the node reports its end as soon as the command started.
class SDK_EXPORT QAStNodeUser : public QAStNode
{
    Q_OBJECT
public:
    QAStNodeUser(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeUser(const QDomElement& element, int version, QAStData* parent = nullptr,
                 QAStData* after = nullptr);
    QAStNodeUser(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStNodeUser() override;

    /// The setting "userCommandLine" with the project's macros expanded,
    /// split into the program and its arguments; empty without a
    /// configuration.
    QStringList commandLine();

    void write(QTextStream& stream, int indent) override;
    QAPropertyGroup* propertyGroup() override;
    unsigned int settingsMask() const override;
    bool acceptDrop(QAStData* data) const override;
    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    /// An external command always runs: what it does is not known here.
    bool mustRebuilt() override;
    void buildAfterChildren() override;
    void executeAfterChildren(bool debug) override;

    QAStAttribute<bool>& catchStdoutAttribute() { return _catchStdout; }
    QAStAttribute<bool>& catchStderrAttribute() { return _catchStderr; }

public slots:
    virtual void nodeUserTerminated(bool normalExit, int status);

private:
    void init(const QDomElement& element, int version);
    void initGlobal();

    QAStAttribute<bool> _catchStdout {true, true};
    QAStAttribute<bool> _catchStderr {true, true};
    /// The running command. It is also the object's script process, so that
    /// a stop reaches it as it reaches any step.
    QPointer<QAProcess> _process;
};
