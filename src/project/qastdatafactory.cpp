#include "qastdatafactory.h"

#include "qastnodegroup.h"
#include "qatrace.h"

#include <QDomElement>

namespace {

// The codes are those of the project file's element table; a code stays with
// its element even while other codes are unused.
enum ClassCode { CodeGroup = 12 };

} // namespace

const QHash<QString, int>& QAStDataFactory::elementMap()
{
    static const QHash<QString, int> map = [] {
        warning("QAStDataFactory: initialization of map element");
        QHash<QString, int> m;
        m.insert(QStringLiteral("group"), CodeGroup);
        return m;
    }();
    return map;
}

int QAStDataFactory::classCode(const QString& elementName)
{
    return elementMap().value(elementName, -1);
}

QAStData* QAStDataFactory::create(const QDomElement& element, int version, QAStData* parent,
                                  QAStData* after)
{
    switch (classCode(element.tagName())) {
    case CodeGroup:
        return new QAStNodeGroup(element, version, parent, after);
    default:
        break;
    }
    warning("No plugin found for feature %s", qPrintable(element.tagName()));
    return nullptr;
}
