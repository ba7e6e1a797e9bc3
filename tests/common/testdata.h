#pragma once

#include "withoutmenus.h"
#include "qastdata.h"

#include <QMenu>

/// The smallest concrete tree object: QAStData with empty menus. Tests that
/// need to watch the tree events count them here.
class TestData : public WithoutMenus<QAStData>
{
    Q_OBJECT
public:
    TestData(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr)
        : WithoutMenus(name, QPixmap(), parent, after)
    {
    }
    TestData(const QDomElement& element, int version, QAStData* parent = nullptr,
             QAStData* after = nullptr)
        : WithoutMenus(element, version, parent, after)
    {
    }
    /// Quiet when its signals were blocked for it, as a parent does for its children.
    ~TestData() override { events << (signalsBlocked() ? QStringLiteral("delete quietly:") : QStringLiteral("delete:")) + name(); }

    void addEvent() override { events << QStringLiteral("add:") + name(); }
    void removeEvent() override { events << QStringLiteral("remove:") + name(); }
    void parentAddEvent(QAStData* added) override
    {
        events << QStringLiteral("parentAdd:") + name() + QLatin1Char('<') + added->name();
    }
    void parentRemoveEvent(QAStData* removed) override
    {
        events << QStringLiteral("parentRemove:") + name() + QLatin1Char('<') + removed->name();
    }
    void childAddEvent(QAStData* added) override
    {
        QAStData::childAddEvent(added);
        events << QStringLiteral("childAdd:") + name() + QLatin1Char('>') + added->name();
    }
    void childRemoveEvent(QAStData* removed) override
    {
        events << QStringLiteral("childRemove:") + name() + QLatin1Char('>') + removed->name();
    }

    /// Events of every TestData, in the order they happened.
    static QStringList events;
};

/// Names of the children of \a data, in chain order.
QStringList childNames(const QAStData* data);
