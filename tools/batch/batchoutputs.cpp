#include "batchoutputs.h"

#include "batchsession.h"
#include "qastnode.h"

#include <QFileInfo>
#include <QTextStream>

namespace BatchOutputs {

void report(const BatchSession& session, QAStNode* top, QTextStream& out)
{
    QList<QAStNode*> tests;
    if (top->inherits("QAStNodeTest"))
        tests << top;
    for (QAStData* data : top->childrenOfClass("QAStNodeTest", true))
        tests << QAStNode::toNode(data);
    for (QAStNode* test : std::as_const(tests)) {
        QStringList streams;
        test->outFileNames(QStringLiteral("SPT"), streams);
        const QList<std::pair<const char*, QStringList>> files {
            {"SPT", streams}, {"TIO", {test->tioFile()}}, {"TDF", {test->tdfFile()}}};
        for (const auto& [type, paths] : files) {
            for (const QString& path : paths) {
                if (QFileInfo(path).isFile())
                    out << "output " << session.pathOf(test) << ' ' << type << ' ' << path << '\n';
            }
        }
    }
    out.flush();
}

} // namespace BatchOutputs
