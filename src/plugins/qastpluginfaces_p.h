#pragma once

// The parts of a plug-in's component that every kind shares. A component is
// one object with a face for each interface it serves; each face forwards to
// the plug-in's object, and a call that comes after that object is gone
// answers as if nothing were served.

#include "qainterfaceids.h"
#include "qaplugininformationinterface.h"
#include "qastfeatureplugin.h"
#include "qaststudioplugin.h"
#include "qcomponentinformationinterface.h"
#include "qlibraryinterface.h"
#include "preferenceinterface.h"

#include <QAtomicInt>
#include <QPointer>

#include <type_traits>

class QAStLibraryFace : public QLibraryInterface
{
public:
    bool init() override { return owner() && owner()->initLibrary(); }
    void cleanup() override
    {
        if (owner())
            owner()->cleanupLibrary();
    }
    bool canUnload() const override { return !owner() || owner()->canUnload(); }

protected:
    virtual QAStPlugin* owner() const = 0;
};

class QAStInformationFace : public QAPluginInformationInterface
{
public:
    QString pluginName() const override { return owner() ? owner()->pluginName() : QString(); }
    QPixmap pluginIcon() const override { return owner() ? owner()->pluginIcon() : QPixmap(); }
    QString pluginDescription() const override { return owner() ? owner()->pluginDescription() : QString(); }
    QString pluginCompanyName() const override { return owner() ? owner()->pluginCompanyName() : QString(); }
    QPixmap pluginCompanyIcon() const override { return owner() ? owner()->pluginCompanyIcon() : QPixmap(); }
    QString pluginCompanyDescription() const override
    {
        return owner() ? owner()->pluginCompanyDescription() : QString();
    }
    QString pluginCopyRight() const override { return owner() ? owner()->pluginCopyRight() : QString(); }
    QString pluginVersion() const override { return owner() ? owner()->pluginVersion() : QString(); }
    QDateTime pluginCreation() const override { return owner() ? owner()->pluginCreation() : QDateTime(); }

protected:
    virtual QAStPlugin* owner() const = 0;
};

class QAStComponentInformationFace : public QComponentInformationInterface
{
public:
    QString name() const override { return owner() ? owner()->componentName() : QString(); }
    QString description() const override { return owner() ? owner()->componentDescription() : QString(); }
    QString author() const override { return owner() ? owner()->componentAuthor() : QString(); }
    QString version() const override { return owner() ? owner()->componentVersion() : QString(); }

protected:
    virtual QAStPlugin* owner() const = 0;
};

/// The menus' part of an activity, import or export interface.
template <class Interface>
class QAStFeatureFace : public Interface
{
public:
    QStringList featureList() const override { return plugin() ? plugin()->features() : QStringList(); }
    QString title(const QString& feature) const override
    {
        return plugin() ? plugin()->title(feature) : QString();
    }
    QPixmap logo(const QString& feature) const override { return plugin() ? plugin()->logo(feature) : QPixmap(); }
    QString description(const QString& feature) const override
    {
        return plugin() ? plugin()->description(feature) : QString();
    }

protected:
    virtual QAStPlugin* owner() const = 0;
    QAStFeaturePlugin* plugin() const { return static_cast<QAStFeaturePlugin*>(owner()); }
};

/// What a viewer, an editor or the project window has of a window
/// component (\a Interface), or a preferences page (StudioComponentInterface).
/// One plug-in object serves both, so the two faces make the same calls.
template <class Interface>
class QAStStudioFace : public Interface
{
public:
    void initialize(QUnknownInterface* studio, QARes* resources) override
    {
        if (plugin())
            plugin()->initialize(studio, resources);
    }
    void accept() override
    {
        if (plugin())
            plugin()->accept();
    }
    bool connectAccepted(QObject* receiver, const char* member) override
    {
        return plugin() && plugin()->connectAccepted(receiver, member);
    }
    bool connectRejected(QObject* receiver, const char* member) override
    {
        return plugin() && plugin()->connectRejected(receiver, member);
    }

protected:
    virtual QAStPlugin* owner() const = 0;
    QAStStudioPlugin* plugin() const { return static_cast<QAStStudioPlugin*>(owner()); }
};

/// The window component's list of file patterns, beside QAStStudioFace.
template <class Interface>
class QAStWindowFace : public QAStStudioFace<Interface>
{
public:
    QStringList filters() override { return this->plugin() ? this->plugin()->filters() : QStringList(); }
};

class QAStPreferenceFace : public QAStStudioFace<PreferenceInterface>
{
public:
    QWidget* preferenceSettings() override { return plugin() ? plugin()->preferenceSettings() : nullptr; }
};

/// Counts the references of a component made of \a Faces, and hands out its
/// faces by identity: its own interfaces, which face() knows, the shared
/// faces it is made of, else the plug-in's own extensions. Every component
/// has the library face, which asks for owner().
template <class Plugin, class... Faces>
class QAStComponent : public Faces...
{
public:
    explicit QAStComponent(Plugin* plugin) : plugin(plugin) {}

    QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) override
    {
        *iface = face(id);
        if (!*iface)
            *iface = sharedFace(id);
        if (*iface) {
            addRef();
            return QS_OK;
        }
        if (plugin)
            *iface = plugin->queryExtension(id); // counted by the plug-in already
        return *iface ? QS_OK : QE_NOINTERFACE;
    }
    ulong addRef() override { return ulong(references.ref() ? references.loadRelaxed() : 0); }
    ulong release() override
    {
        if (references.deref())
            return ulong(references.loadRelaxed());
        delete this;
        return 0;
    }

protected:
    virtual ~QAStComponent() = default;
    /// The face that \a id names, or null.
    virtual QUnknownInterface* face(const QUuid& id) = 0;
    QAStPlugin* owner() const override { return plugin; }

    QPointer<Plugin> plugin;

private:
    template <class Face>
    static constexpr bool has = (std::is_same_v<Face, Faces> || ...);

    QUnknownInterface* sharedFace(const QUuid& id)
    {
        if (id == IID_QLibrary)
            return static_cast<QLibraryInterface*>(this);
        if constexpr (has<QAStInformationFace>) {
            if (id == IID_QAPluginInformation)
                return static_cast<QAPluginInformationInterface*>(this);
        }
        if constexpr (has<QAStComponentInformationFace>) {
            if (id == IID_QComponentInformation)
                return static_cast<QComponentInformationInterface*>(this);
        }
        if constexpr (has<QAStPreferenceFace>) {
            if (id == IID_Preference || id == IID_StudioComponent)
                return static_cast<PreferenceInterface*>(this);
        }
        return nullptr;
    }

    QAtomicInt references {1};
};

/// The component of an activity, import or export plug-in: \a Interface,
/// named \a id, and what the plug-in says of itself.
template <class Plugin, class Interface, const QUuid& id>
class QAStFeatureComponent
    : public QAStComponent<Plugin, QAStFeatureFace<Interface>, QAStInformationFace, QAStLibraryFace>
{
public:
    using QAStComponent<Plugin, QAStFeatureFace<Interface>, QAStInformationFace, QAStLibraryFace>::QAStComponent;

protected:
    QUnknownInterface* face(const QUuid& asked) override
    {
        if (asked == IID_QUnknown || asked == IID_QFeatureList || asked == id)
            return static_cast<Interface*>(this);
        return nullptr;
    }
};
