#include "qastpropertyfullpath.h"

#include "qastdata.h"
#include "qastprjmacroanalyse.h"

#include <QLineEdit>

QAStPropertyFullPath::QAStPropertyFullPath(const QString& key, QAStData* node,
                                           QAStAttribute<QString>* attribute)
    : QAProperty(key), _node(node), _attribute(attribute)
{
    setReadOnly(true);
}

QString QAStPropertyFullPath::displayValue()
{
    if (!_node || !_attribute)
        return QString();
    QAStPrjMacroAnalyse macros(_node.data());
    return _node->determineAbsolutePathFile(macros.analyse(_attribute->get()));
}

QWidget* QAStPropertyFullPath::createEditor(QWidget* parent)
{
    auto* editor = new QLineEdit(displayValue(), parent);
    editor->setReadOnly(true);
    return editor;
}
