#include "batchplan.h"

#include "batchsession.h"
#include "qastnode.h"

#include <QTextStream>

namespace {

bool isSkipped(const QAStNode* node)
{
    return node->effectiveState() != QAStNode::Included;
}

QString skippedReason(const QAStNode* node)
{
    return node->effectiveState() == QAStNode::Excluded ? QStringLiteral("excluded")
                                                        : QStringLiteral("report files only");
}

// The nodes below \a node that its run does not reach, with the reason.
void notReached(QAStNode* node, int depth, const QString& reason, QList<BatchPlan::Step>& plan)
{
    for (QAStNode* child : node->children()) {
        plan.append({child, depth, false, reason});
        notReached(child, depth + 1, reason, plan);
    }
}

// A node that runs walks its children as a build does: a skipped child is
// passed over, an external command always runs, and any other child runs
// when it must be rebuilt.
void walk(QAStNode* node, int depth, bool rebuild, QList<BatchPlan::Step>& plan)
{
    for (QAStNode* child : node->childrenToBuild()) {
        BatchPlan::Step step {child, depth, false, QString()};
        if (isSkipped(child)) {
            step.reason = skippedReason(child);
        } else if (rebuild) {
            step.runs = true;
            step.reason = QStringLiteral("forced");
        } else if (child->mustRebuilt()) {
            step.runs = true;
            step.reason = child->rebuildReason();
        } else if (child->inherits("QAStNodeUser")) {
            step.runs = true;
            step.reason = QStringLiteral("external command");
        } else {
            step.reason = child->rebuildReason();
        }
        if (step.reason.isEmpty())
            step.reason = step.runs ? QStringLiteral("out of date") : QStringLiteral("up to date");
        plan.append(step);
        if (step.runs)
            walk(child, depth + 1, rebuild, plan);
        else
            notReached(child, depth + 1, QStringLiteral("not reached: ") + child->name() + QLatin1String(" does not run"),
                       plan);
    }
}

QList<BatchPlan::Step> planOf(QAStNode* top, bool rebuild)
{
    QList<BatchPlan::Step> plan;
    BatchPlan::Step step {top, 0, false, QString()};
    if (isSkipped(top)) {
        step.reason = skippedReason(top);
    } else if (rebuild) {
        step.runs = true;
        step.reason = QStringLiteral("forced");
    } else {
        step.runs = top->mustRebuilt();
        step.reason = top->rebuildReason();
    }
    if (step.reason.isEmpty())
        step.reason = step.runs ? QStringLiteral("out of date") : QStringLiteral("up to date");
    plan.append(step);
    if (step.runs)
        walk(top, 1, rebuild, plan);
    else
        notReached(top, 1, QStringLiteral("not reached: ") + top->name() + QLatin1String(" does not run"), plan);
    return plan;
}

} // namespace

QList<BatchPlan::Step> BatchPlan::ofBuild(QAStNode* top)
{
    return planOf(top, false);
}

QList<BatchPlan::Step> BatchPlan::ofRebuild(QAStNode* top)
{
    return planOf(top, true);
}

int BatchPlan::explain(BatchSession& session, QAStNode* top, QTextStream& out)
{
    for (const Step& step : ofBuild(top))
        out << QString(step.depth * 2, QLatin1Char(' ')) << session.pathOf(step.node) << ": "
            << (step.runs ? "runs" : "skipped") << " (" << step.reason << ")\n";
    out.flush();
    return ExitSuccess;
}
