#pragma once

#include "qastdata.h"

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
