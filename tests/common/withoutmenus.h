#pragma once

#include <QStringList>

class QMenu;
class QWidget;

/// A tree class made concrete with no menus and no version control items, for
/// tests and benchmarks that need real objects but no user interface.
template <class Base>
class WithoutMenus : public Base
{
public:
    using Base::Base;
    QMenu* popupMenu(QWidget*) override { return nullptr; }
    QMenu* addChildPopupMenu(QWidget*) override { return nullptr; }
    QMenu* addNextPopupMenu(QWidget*) override { return nullptr; }
    QMenu* viewPopupMenu(QWidget*) override { return nullptr; }
    void localActionMenuItems(QMenu*) override {}
    QStringList vcsItems() override { return {}; }
    void doubleClickAction() override {}
};
