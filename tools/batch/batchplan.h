#pragma once

#include <QList>
#include <QString>

class BatchSession;
class QAStNode;
class QTextStream;

/// What a build of a node would run, node by node, and why: the walk of a
/// build without its scripts. The answers come from the nodes' own
/// mustRebuilt(), so that the plan and the build cannot disagree.
class BatchPlan
{
public:
    struct Step {
        QAStNode* node = nullptr;
        int depth = 0;
        bool runs = false;
        QString reason;
    };

    /// The plan of a build of \a top: every node of its subtree, in tree
    /// order.
    static QList<Step> ofBuild(QAStNode* top);
    /// The plan of a rebuild: every node that is neither excluded nor under
    /// an excluded node runs.
    static QList<Step> ofRebuild(QAStNode* top);

    /// "explain [NODE]": one line for each node of the plan of a build.
    static int explain(BatchSession& session, QAStNode* top, QTextStream& out);
};
