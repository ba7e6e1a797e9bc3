#pragma once

#include "sdk_export.h"

#include <QDomElement>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

class QMetMetric;

/// An item of the metrics tree: the root, a file, a class or a function.
///
/// The derived metrics are made bottom-up while the tree is built: a child
/// has read its own values and passed on all it has before its parent passes
/// anything to its own parent. For each base key K the levels above a leaf
/// hold K_SUM, K_MEAN, K_MAX and K_STD; a class also holds, in metrics2(),
/// the same family over the whole class, its members defined elsewhere in the
/// tree included.
class SDK_EXPORT QMetElement : public QObject
{
    Q_OBJECT
public:
    /// The root: name "Root", type "ROOT".
    explicit QMetElement(const QDomElement& domElement);
    /// An item below \a parent, which owns it.
    QMetElement(const QDomElement& domElement, QMetElement* parent);
    ~QMetElement() override;

    virtual void init();
    /// Makes the "for complete class" family of every key that a child or
    /// a member holds.
    virtual void createChild2Metrics();
    /// The elements of the items below this one: the root's own children,
    /// the children of `ITEMS` for the others.
    virtual QList<QDomElement> getChildItems();

    /// Reads this item's metrics and builds its sub-items, then passes its
    /// values on to the parent.
    void buildChilds();
    /// Joins the members to their classes, makes the class-level family and
    /// the deviations. Called once, on the root, after the whole tree stands.
    void updateMetrics();

    void createChildMetrics(const QString& key);
    void updateParentMetrics();
    /// 1 for a key ending in "_SUM", 2 for "_MAX", "_STD", "_MEAN", else 0.
    static int testEndSring(const QString& key);
    /// True for a key ending in "_SUM2".
    static bool testEndSring2(const QString& key);

    void calculateTestingTime(float stroud);
    void calculateTestingTimeSum(float stroud);

    /// The first item below whose line is \a line: the children first, then
    /// depth first through each child.
    QMetElement* findLine(const QString& line) const;
    /// The tree as indented text, for diagnostics.
    void displayTree(QString& out, int indent = 0) const;

    QMetElement* parentElement() const { return _parent; }
    QDomElement domElement() const { return _domElement; }
    const QMap<QString, QMetMetric*>& metrics() const { return _metrics; }
    const QMap<QString, QMetMetric*>& metrics2() const { return _metrics2; }
    QMetMetric* metric(const QString& key) const { return _metrics.value(key); }
    QMetMetric* metric2(const QString& key) const { return _metrics2.value(key); }
    const QList<QMetElement*>& children() const { return _children; }
    const QList<QMetElement*>& classMembers() const { return _classMembers; }
    /// The number of leaf values behind the base key \a key.
    int counter(const QString& key) const { return _families.value(key).counter; }
    QString name() const { return _name; }
    QString type() const { return _type; }
    void setType(const QString& type) { _type = type; }
    QString line() const { return _line; }
    QString className() const { return _className; }
    QString fileName() const { return _fileName; }
    void setFileName(const QString& fileName) { _fileName = fileName; }
    QString dir() const { return _dir; }

private:
    QMetElement* root();
    void addElement(const QString& className, QMetElement* member);
    void getChildMetrics();
    QMetMetric* addMetric(QMap<QString, QMetMetric*>& metrics, const QString& key, const QString& label);
    void calculateMetricsNew(const QString& key, float value);
    void calculateMetrics(const QString& sumKey);
    void calculateMetrics2(const QString& sumKey);
    void stdMetrics(QMetMetric* metric, const QString& key, float mean);
    float squareMetrics(const QString& key, float mean) const;

    QMetElement* _parent = nullptr;
    QDomElement _domElement;
    QMap<QString, QMetMetric*> _metrics;
    QMap<QString, QMetMetric*> _metrics2;
    QList<QMetElement*> _children;
    QList<QMetElement*> _classMembers;
    /// The derived family of each base key and the number of leaf values
    /// behind it, found without building the suffixed key names again: a
    /// load passes every value of every leaf through here.
    struct Family {
        QMetMetric* sum = nullptr;
        QMetMetric* mean = nullptr;
        QMetMetric* max = nullptr;
        QMetMetric* deviation = nullptr;
        int counter = 0;
    };
    QHash<QString, Family> _families;
    QMap<QString, QList<QMetElement*>> _orphans;
    QMap<QString, QMetElement*> _classes;
    QString _name;
    QString _type;
    QString _line;
    QString _className;
    QString _fileName;
    QString _dir;
};
