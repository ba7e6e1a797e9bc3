#pragma once

#include "qastdata.h"

#include <QCoreApplication>
#include <QIcon>
#include <QMenu>
#include <QMetaObject>

/// An item of a node's menu that calls \a slot of \a node. A command of a
/// node kind that does not stand yet is offered and does nothing.
inline QAction* addNodeAction(QAStData* node, QMenu* menu, const QString& text, const char* slot,
                              const char* icon = nullptr)
{
    QAction* action = icon ? menu->addAction(QIcon(QAStData::pixmap(QString::fromLatin1(icon))), text)
                           : menu->addAction(text);
    if (!slot)
        return action;
    const QByteArray signature = QMetaObject::normalizedSignature(slot + 1);
    if (node->metaObject()->indexOfSlot(signature.constData()) >= 0)
        QObject::connect(action, SIGNAL(triggered()), node, slot);
    return action;
}

/// "&Build", "&Rebuild" and "&Clean" of \a node, off while it runs.
inline void addBuildActions(QAStData* node, QMenu* menu)
{
    const bool running = node->isRunning();
    const struct {
        const char* text;
        const char* slot;
        const char* icon;
    } rows[] = {{QT_TRANSLATE_NOOP("QAStNode", "&Build"), SLOT(build()), "make_xpm"},
                {QT_TRANSLATE_NOOP("QAStNode", "&Rebuild"), SLOT(rebuild()), "rebuild_xpm"},
                {QT_TRANSLATE_NOOP("QAStNode", "&Clean"), SLOT(clean()), "clean_xpm"}};
    for (const auto& row : rows)
        addNodeAction(node, menu, QCoreApplication::translate("QAStNode", row.text), row.slot, row.icon)
            ->setEnabled(!running);
}

/// "Move &Up", "Move &Down", "Delete" and "Proper&ties": the node's place in
/// the tree and its properties.
inline void addPlaceActions(QAStData* node, QMenu* menu)
{
    auto text = [](const char* source) { return QCoreApplication::translate("QAStNode", source); };
    addNodeAction(node, menu, text("Move &Up"), SLOT(moveUp()))->setEnabled(node->parent() && node->previous());
    addNodeAction(node, menu, text("Move &Down"), SLOT(moveDown()))->setEnabled(node->parent() && node->next());
    addNodeAction(node, menu, text("Delete"), SLOT(del()), "delete_xpm");
    addNodeAction(node, menu, text("Proper&ties"), SLOT(properties()));
}
