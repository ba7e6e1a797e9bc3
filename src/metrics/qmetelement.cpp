#include "qmetelement.h"

#include "qmetmetric.h"

#include <QSet>

#include <cmath>

namespace {

const QString sumSuffix = QStringLiteral("_SUM");
const QString meanSuffix = QStringLiteral("_MEAN");
const QString maxSuffix = QStringLiteral("_MAX");
const QString stdSuffix = QStringLiteral("_STD");
const QString sum2Suffix = QStringLiteral("_SUM2");

bool isMemberType(const QString& type)
{
    return type == QLatin1String("METHOD") || type == QLatin1String("CONSTRUCTOR")
        || type == QLatin1String("DESTRUCTOR");
}

QString baseKey(const QString& key, const QString& suffix)
{
    return key.left(key.size() - suffix.size());
}

} // namespace

QMetElement::QMetElement(const QDomElement& domElement) : _domElement(domElement)
{
    init();
}

QMetElement::QMetElement(const QDomElement& domElement, QMetElement* parent)
    : QObject(parent), _parent(parent), _domElement(domElement)
{
    init();
}

QMetElement::~QMetElement() = default;

void QMetElement::init()
{
    if (!_parent) {
        _name = QStringLiteral("Root");
        _type = QStringLiteral("ROOT");
        return;
    }
    _parent->_children.append(this);
    _name = _domElement.attribute(QStringLiteral("Name"));
    _type = _domElement.tagName();
    _line = _domElement.attribute(QStringLiteral("Line"));
    if (_type == QLatin1String("FILE")) {
        _dir = _domElement.attribute(QStringLiteral("Dir"));
    } else if (_type == QLatin1String("CLASS")) {
        // A class of a name met again replaces the first: its members join
        // the one read last.
        root()->_classes.insert(_name, this);
    } else if (isMemberType(_type)) {
        _className = _domElement.attribute(QStringLiteral("Class"));
        if (!_className.isEmpty() && _className != _parent->_name)
            root()->addElement(_className, this);
    }
}

QMetElement* QMetElement::root()
{
    QMetElement* top = this;
    while (top->_parent)
        top = top->_parent;
    return top;
}

void QMetElement::addElement(const QString& className, QMetElement* member)
{
    _orphans[className].append(member);
}

QList<QDomElement> QMetElement::getChildItems()
{
    QList<QDomElement> items;
    QDomElement holder = _domElement;
    if (_parent)
        holder = _domElement.firstChildElement(QStringLiteral("ITEMS"));
    for (QDomElement child = holder.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        // Outside ITEMS only the root holds items; its METRICS are no item.
        if (!_parent || (child.tagName() != QLatin1String("METRICS") && child.tagName() != QLatin1String("ITEMS")))
            items.append(child);
    }
    return items;
}

void QMetElement::buildChilds()
{
    if (_type == QLatin1String("FILE"))
        _fileName = _name;
    getChildMetrics();
    const QList<QDomElement> items = getChildItems();
    for (const QDomElement& item : items) {
        auto* child = new QMetElement(item, this);
        child->_type = item.nodeName();
        child->_fileName = _fileName;
        child->buildChilds();
    }
    updateParentMetrics();
}

void QMetElement::getChildMetrics()
{
    const QDomElement holder = _domElement.firstChildElement(QStringLiteral("METRICS"));
    for (QDomElement element = holder.firstChildElement(QStringLiteral("METRIC")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("METRIC"))) {
        auto* metric = new QMetMetric(this, element);
        // A key given twice keeps its last value, as a map does.
        delete _metrics.value(metric->key());
        _metrics.insert(metric->key(), metric);
        if (_parent)
            _parent->createChildMetrics(metric->key());
    }
}

QMetMetric* QMetElement::addMetric(QMap<QString, QMetMetric*>& metrics, const QString& key,
                                   const QString& label)
{
    QMetMetric*& slot = metrics[key];
    if (!slot)
        slot = new QMetMetric(this, key, label, 0);
    return slot;
}

void QMetElement::createChildMetrics(const QString& key)
{
    if (_families.contains(key))
        return;
    Family family;
    family.sum = addMetric(_metrics, key + sumSuffix, tr("Sum of %1").arg(key));
    family.mean = addMetric(_metrics, key + meanSuffix, tr("Mean of %1").arg(key));
    family.max = addMetric(_metrics, key + maxSuffix, tr("Max of %1").arg(key));
    family.deviation = addMetric(_metrics, key + stdSuffix, tr("Standard deviation of %1").arg(key));
    _families.insert(key, family);
    if (_parent)
        _parent->createChildMetrics(key);
}

int QMetElement::testEndSring(const QString& key)
{
    if (key.endsWith(sumSuffix))
        return 1;
    if (key.endsWith(maxSuffix) || key.endsWith(stdSuffix) || key.endsWith(meanSuffix))
        return 2;
    return 0;
}

bool QMetElement::testEndSring2(const QString& key)
{
    return key.endsWith(sum2Suffix);
}

void QMetElement::updateParentMetrics()
{
    for (auto it = _metrics.constBegin(); it != _metrics.constEnd(); ++it) {
        switch (testEndSring(it.key())) {
        case 0:
            if (_parent)
                calculateMetricsNew(it.key(), it.value()->value());
            break;
        case 1:
            calculateMetrics(it.key());
            break;
        default:
            break;
        }
    }
}

void QMetElement::calculateMetricsNew(const QString& key, float value)
{
    const auto family = _parent->_families.find(key);
    if (family == _parent->_families.end())
        return;
    family->sum->addValue(value);
    family->counter += 1;
    family->max->raise(value);
}

void QMetElement::calculateMetrics(const QString& sumKey)
{
    // A file may give a key ending in "_SUM" itself: it has no family here,
    // and passes on nothing but its sum.
    const QString key = baseKey(sumKey, sumSuffix);
    const float sum = _metrics.value(sumKey)->value();
    const Family own = _families.value(key);
    if (_parent) {
        const auto family = _parent->_families.find(key);
        if (family != _parent->_families.end()) {
            family->sum->addValue(sum);
            family->counter += own.counter;
            if (own.max)
                family->max->raise(own.max->value());
        }
    }
    // The root's mean is made too, though no query reads it: its deviation
    // is measured against it.
    if (own.mean)
        own.mean->setValue(own.counter != 0 ? sum / float(own.counter) : 0);
}

void QMetElement::updateMetrics()
{
    if (!_parent) {
        for (auto it = _classes.constBegin(); it != _classes.constEnd(); ++it) {
            const auto orphans = _orphans.constFind(it.key());
            if (orphans != _orphans.constEnd())
                it.value()->_classMembers.append(orphans.value());
            it.value()->_type = QStringLiteral("CLASS");
        }
    }
    if (_type == QLatin1String("CLASS")) {
        createChild2Metrics();
        const QStringList keys = _metrics2.keys();
        for (const QString& key : keys) {
            if (testEndSring2(key))
                calculateMetrics2(key);
        }
    }
    for (QMetElement* child : std::as_const(_children))
        child->updateMetrics();
    for (auto it = _families.constBegin(); it != _families.constEnd(); ++it)
        stdMetrics(it->deviation, it.key(), it->mean->value());
}

void QMetElement::createChild2Metrics()
{
    QSet<QString> met;
    auto make = [&](const QMetElement* element) {
        for (auto it = element->_metrics.constBegin(); it != element->_metrics.constEnd(); ++it) {
            const QString& key = it.key();
            // Only the values the files gave: a nested class's own sums are
            // no value of this class.
            if (testEndSring(key) != 0 || met.contains(key))
                continue;
            met.insert(key);
            addMetric(_metrics2, key + sum2Suffix, tr("Sum of %1 for complete Class").arg(key));
            addMetric(_metrics2, key + QStringLiteral("_MEAN2"), tr("Mean of %1 for complete Class").arg(key));
            addMetric(_metrics2, key + QStringLiteral("_MAX2"), tr("Max of %1 for complete Class").arg(key));
            addMetric(_metrics2, key + QStringLiteral("_STD2"),
                      tr("Standard deviation of %1 for complete Class").arg(key));
        }
    };
    for (const QMetElement* child : std::as_const(_children))
        make(child);
    for (const QMetElement* member : std::as_const(_classMembers))
        make(member);
}

void QMetElement::calculateMetrics2(const QString& sumKey)
{
    const QString key = baseKey(sumKey, sum2Suffix);
    const Family own = _families.value(key);
    float sum = own.sum ? own.sum->value() : 0;
    float max = own.max ? own.max->value() : 0;
    for (const QMetElement* member : std::as_const(_classMembers)) {
        if (const QMetMetric* value = member->metric(key)) {
            sum += value->value();
            max = qMax(max, value->value());
        }
    }
    _metrics2.value(sumKey)->setValue(sum);
    addMetric(_metrics2, key + QStringLiteral("_MAX2"), QString())->setValue(max);
    // Every member counts, also one without this key; the deviation below
    // only sees those that have it.
    const int n = counter(key) + int(_classMembers.size());
    const float mean = n != 0 ? sum / float(n) : 0;
    addMetric(_metrics2, key + QStringLiteral("_MEAN2"), QString())->setValue(mean);
    float squares = 0;
    for (const QMetElement* member : std::as_const(_classMembers)) {
        if (const QMetMetric* value = member->metric(key))
            squares += (value->value() - mean) * (value->value() - mean);
    }
    for (const QMetElement* child : std::as_const(_children)) {
        if (const QMetMetric* value = child->metric(key))
            squares += (value->value() - mean) * (value->value() - mean);
    }
    addMetric(_metrics2, key + QStringLiteral("_STD2"), QString())
        ->setValue(n != 0 ? std::sqrt(squares / float(n)) : 0);
}

void QMetElement::stdMetrics(QMetMetric* metric, const QString& key, float mean)
{
    const float squares = squareMetrics(key, mean);
    const int n = counter(key);
    // The population form: the leaves are all there is, not a sample.
    metric->setValue(n != 0 ? std::sqrt(squares / float(n)) : squares);
}

float QMetElement::squareMetrics(const QString& key, float mean) const
{
    float squares = 0;
    for (const QMetElement* child : _children) {
        if (const QMetMetric* value = child->metric(key))
            squares += (value->value() - mean) * (value->value() - mean);
        else
            squares += child->squareMetrics(key, mean);
    }
    return squares;
}

void QMetElement::calculateTestingTime(float stroud)
{
    const QMetMetric* effort = metric(QStringLiteral("Effort"));
    if (!effort)
        return;
    QMetMetric* time = addMetric(_metrics, QStringLiteral("TestingTime"), tr("Testing Time"));
    if (stroud != 0)
        time->setValue(effort->value() / stroud);
}

void QMetElement::calculateTestingTimeSum(float stroud)
{
    const QMetMetric* effort = metric(QStringLiteral("Effort_SUM"));
    if (!effort)
        return;
    QMetMetric* time = addMetric(_metrics, QStringLiteral("TestingTime_SUM"), tr("Sum of Testing Time"));
    if (stroud != 0)
        time->setValue(effort->value() / stroud);
}

QMetElement* QMetElement::findLine(const QString& line) const
{
    for (QMetElement* child : _children) {
        if (child->_line == line)
            return child;
    }
    for (QMetElement* child : _children) {
        if (QMetElement* found = child->findLine(line))
            return found;
    }
    return nullptr;
}

void QMetElement::displayTree(QString& out, int indent) const
{
    const QString pad(indent * 2, QLatin1Char(' '));
    out += pad + _type + QLatin1Char(' ') + _name;
    if (!_line.isEmpty())
        out += QLatin1Char(':') + _line;
    out += QLatin1Char('\n');
    for (auto it = _metrics.constBegin(); it != _metrics.constEnd(); ++it)
        out += pad + QStringLiteral("  -%1 = %2\n").arg(it.key()).arg(double(it.value()->value()));
    for (auto it = _metrics2.constBegin(); it != _metrics2.constEnd(); ++it)
        out += pad + QStringLiteral("  -%1 = %2\n").arg(it.key()).arg(double(it.value()->value()));
    for (const QMetElement* child : _children)
        child->displayTree(out, indent + 1);
}
