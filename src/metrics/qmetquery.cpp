#include "qmetquery.h"

#include "qmetelement.h"
#include "qmetmetric.h"
#include "qmettree.h"

#include <QFileInfo>

#include <cmath>
#include <limits>

namespace {

const QString none = QStringLiteral("-");

QString valueText(float value)
{
    return QStringLiteral("%1").arg(QString().setNum(value));
}

// A count read as a float; one that no int holds answers its nearest bound.
qint64 wholeNumber(float value)
{
    if (std::isnan(value))
        return 0;
    const double bound = double(std::numeric_limits<int>::max());
    return qint64(std::trunc(qBound(-bound, double(value), bound)));
}

} // namespace

QMetElement* QMetQuery::findFile(const QString& file) const
{
    if (!_tree || !_tree->root())
        return nullptr;
    const QString wanted = QFileInfo(file).fileName().toUpper();
    for (QMetElement* child : _tree->root()->children()) {
        if (child->name().toUpper() == wanted)
            return child;
    }
    return nullptr;
}

QString QMetQuery::fileMetric(const QString& file, const QString& key) const
{
    const QMetElement* element = findFile(file);
    const QMetMetric* metric = element ? element->metric(key) : nullptr;
    return metric ? valueText(metric->value()) : none;
}

QString QMetQuery::itemMetric(const QString& file, int line, const QString& key) const
{
    const QMetElement* element = findFile(file);
    if (!element)
        return none;
    const QString lineText = QString::number(line);
    const QMetElement* item = nullptr;
    for (const QMetElement* child : element->children()) {
        if (child->line() == lineText) {
            item = child;
            break;
        }
    }
    if (!item)
        item = element->findLine(lineText);
    if (!item)
        return none;
    const QMetMetric* metric = nullptr;
    if (item->type() == QLatin1String("CLASS")
        && (key == QLatin1String("VG") || key == QLatin1String("Statements") || key == QLatin1String("NestedLevel")))
        metric = item->metric2(key + QStringLiteral("_SUM2"));
    else
        metric = item->metric(key);
    return metric ? valueText(metric->value()) : none;
}

QString QMetQuery::getVgSumValue(const QString& file) const
{
    return fileMetric(file, QStringLiteral("VG_SUM"));
}

QString QMetQuery::getTotalStatementsValue(const QString& file) const
{
    return fileMetric(file, QStringLiteral("Statements_SUM"));
}

QString QMetQuery::getDifficultyValue(const QString& file) const
{
    return fileMetric(file, QStringLiteral("Difficulty"));
}

QString QMetQuery::getSizeValue(const QString& file) const
{
    return fileMetric(file, QStringLiteral("N1_N2"));
}

QString QMetQuery::getSourceLinesValue(const QString& file) const
{
    const QMetElement* element = findFile(file);
    if (!element)
        return none;
    const QMetMetric* code = element->metric(QStringLiteral("Src1"));
    const QMetMetric* comments = element->metric(QStringLiteral("Src2"));
    if (!code && !comments)
        return none;
    const qint64 lines = (code ? wholeNumber(code->value()) : 0) + (comments ? wholeNumber(comments->value()) : 0);
    return QStringLiteral("%1").arg(lines);
}

QString QMetQuery::getVgValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("VG"));
}

QString QMetQuery::getStatementsValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("Statements"));
}

QString QMetQuery::getNestedValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("NestedLevel"));
}

QString QMetQuery::getExtVarUseValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("EXTVARUSE"));
}

QString QMetQuery::getInCallValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("FAN_IN"));
}

QString QMetQuery::getExtCompCallValue(const QString& file, int line) const
{
    return itemMetric(file, line, QStringLiteral("EXTCOMPCALL"));
}
