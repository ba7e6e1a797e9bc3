#pragma once

#include "qastdata.h"

#include <QMenu>

/// The smallest concrete tree object: QAStData with empty menus. Tests that
/// need to watch the tree events count them here.
class TestData : public QAStData
{
    Q_OBJECT
public:
    TestData(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr)
        : QAStData(name, QPixmap(), parent, after)
    {
    }
    TestData(const QDomElement& element, int version, QAStData* parent = nullptr,
             QAStData* after = nullptr)
        : QAStData(element, version, parent, after)
    {
    }

    QMenu* popupMenu(QWidget*) override { return nullptr; }
    QMenu* addChildPopupMenu(QWidget*) override { return nullptr; }
    QMenu* addNextPopupMenu(QWidget*) override { return nullptr; }
    QMenu* viewPopupMenu(QWidget*) override { return nullptr; }
    void localActionMenuItems(QMenu*) override {}
    QStringList vcsItems() override { return {}; }
    void doubleClickAction() override {}

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
