#pragma once

#include "qastnodecontainer.h"

/// The folder of the node tree. After its children it runs "Group.pl", for a
/// build as for an execution, which gathers the results of its subtree; a
/// failed child does not stop it, only a stopped one does.
class SDK_EXPORT QAStNodeGroup : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeGroup(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeGroup(const QDomElement& element, int version, QAStData* parent = nullptr,
                  QAStData* after = nullptr);
    QAStNodeGroup(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    bool abortBuildOnChildError(QAStNode* child) override;
    void buildAfterChildren() override;
    void executeAfterChildren(bool debug) override;
    void generateEnv(QTextStream& stream) override;
    QStringList disableViewerList() const override;
    unsigned int settingsMask() const override;

public slots:
    virtual void executeScriptTerminated();

private:
    void runGroupScript();
    void writeFileList(QTextStream& stream, const char* variable, const QString& type);
};
