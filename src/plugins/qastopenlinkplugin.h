#pragma once

#include "qastplugin.h"

class QWidget;

/// The class a plug-in of a link to an outside tool derives from: the title
/// of its menu item and what it does with the text the user chose.
class SDK_EXPORT QAStOpenLinkPlugin : public QAStPlugin
{
    Q_OBJECT
public:
    using QAStPlugin::QAStPlugin;

    QUnknownInterface* component() override;

    /// The plug-in's name by default.
    virtual QString title() const;
    virtual bool doLink(const QString& text, QWidget* parent);
};
