#pragma once

#include "qastanalysemacro.h"

#include <QPointer>
#include <QVariant>

class QAStData;
class QAStNode;
class QTreeWidgetItem;
class StudioInterface;

/// The macro language bound to a project: the project macros speak of the
/// selected tree object, or, without one, of the selected item of a list
/// view. Errors go to the host's build console; `@@PROMPT` asks through the
/// host, so a host without a user answers it by cancelling. `@@EDITOR` and
/// `@@OPEN` are read and give nothing here; a binding of its own may give
/// them a meaning.
class SDK_EXPORT QAStPrjMacroAnalyse : public QAStAnalyseMacro
{
public:
    explicit QAStPrjMacroAnalyse(QAStData* data);
    explicit QAStPrjMacroAnalyse(QTreeWidgetItem* item);

    QString interpretMacro(int& token) override;
    QString interpretFunction(int& token, QStringList arguments, QString title) override;
    void errorHandle(const QString& message) override;

private:
    QVariant configurationValue(QAStNode* node, const QString& key) const;
    QString outFiles(QAStNode* node, const char* type) const;

    StudioInterface* _studio;
    // A prompt runs an event loop, in which the selected object may go.
    QPointer<QAStData> _data;
    QTreeWidgetItem* _item = nullptr;
};
