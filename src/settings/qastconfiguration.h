#pragma once

#include "qapropertystore.h"
#include "qastunknownelement.h"

#include <QList>
#include <QMap>

class QAProperty;
class QAPropertyMapGroup;
class QARes;
class QAStNode;
class QAStTargetPackage;
class QDomElement;
class QTextStream;
class StudioInterface;

/// The settings of one node for one configuration name.
///
/// A store holds only what was changed on its node; every other value comes
/// from the parent node's store of the same name, up to the project and last
/// to the project's initial configuration, which alone is complete: it holds
/// the built-in defaults and what the chosen port brought. Which settings
/// exist is described once per process by the tree of the definition file.
class SDK_EXPORT QAStConfiguration : public QAPropertyStore
{
    Q_OBJECT
public:
    /// Bits of the "executionFlag" setting.
    enum ExecutionFlag : unsigned int {
        AllSteps = 0x3F,
        CodeCoverage = 0x200,
        RuntimeTracing = 0x400,
        /// The analyses a port may refuse.
        PortAnalyses = 0xE1E00
    };

    QAStConfiguration(const QString& name, QAStNode* node);
    ~QAStConfiguration() override;

    QString name() const;
    void setName(const QString& name);
    QAStNode* node() const { return _node; }
    /// The directory of the project that holds the node; null without one.
    QString projectDirectory() const;

    /// The installed port whose directory is the resolved "targetPath", or null.
    QAStTargetPackage* targetPackage() const;
    /// The resolved "sourceLanguage" as a bit of its language family:
    /// 1 C, 2 C++, 4 Ada, 8 Java; 1 for a word no family claims.
    int languageType() const;
    /// The descriptor's leaves that the environment file writes as they are,
    /// bound to this store. Use the list at once: the next configuration to
    /// use the descriptor takes the binding over.
    const QList<QAProperty*>& perlVariables();

    QAPropertyStore* inheritOf() const override;

    /// Fills an initial configuration with the built-in defaults, then with
    /// the initial values of the definition file.
    void init();
    /// Adopts \a port: its target, tool chain and further defaults.
    void init(const QAStTargetPackage& port);
    /// Drops what init(\a port) wrote, so that the inherited values show again.
    void reset(const QAStTargetPackage& port);
    /// The name that a `configuration` element gives.
    static QString nameOf(const QDomElement& element);
    /// Reads a `configuration` element of a project file.
    void init(const QDomElement& element, int version);
    /// Reads the older resource form: a group with a `name` string.
    void init(QARes* resources);
    /// Shares \a other's map; this store keeps its node.
    void init(const QAStConfiguration& other);
    QAStConfiguration& operator=(const QAStConfiguration& other);
    /// Writes the `configuration` element: the name and the own values that
    /// the descriptor knows, in its order, then the blocks of settings that
    /// plug-ins add, each in an element of its feature's name inside
    /// `extension_block_list`.
    void write(QTextStream& stream, int indent);

    static bool initialize(StudioInterface* studio, QARes* resources = nullptr);
    static void terminate(StudioInterface* studio = nullptr, QARes* resources = nullptr);
    /// A new description tree of all settings, owned by the caller; null when
    /// the definition file has errors (they are on the host's message log).
    /// The groups that plug-ins add below its root stay theirs: the caller
    /// gives them back with releasePluginGroups() before deleting the tree.
    static QAPropertyMapGroup* createPropertyDescriptor();
    /// Takes the plug-ins' groups out of \a descriptor, without deleting them.
    static void releasePluginGroups(QAPropertyGroup* descriptor);
    /// The process's description tree, or null before initialize().
    static QAPropertyMapGroup* propertyDescriptor() { return _descriptor; }
    /// The contexts a setting may be restricted to, by name, and their bits.
    static const QMap<QString, int>& filterMap();
    /// The groups of those bits that are each checked on their own.
    static QList<unsigned int> maskGroups();
    /// The keys that init() fills, in its order.
    static QStringList defaultKeys();

private:
    /// The descriptor bound to this store, or null.
    QAPropertyMapGroup* boundDescriptor();
    void _initWithInitialPropertyValues(QAProperty* property);
    void _initWithInitialValues(QAProperty* property, const QAStTargetPackage& port);
    void _resetWithInitialValues(QAProperty* property, const QAStTargetPackage& port);
    void applyPortFlags();
    void readExtensionBlocks(const QDomElement& list, int version);
    void writeExtensionBlocks(QTextStream& stream, int indent);

    /// An element of `extension_block_list` as it was read, in file order:
    /// the feature of a block that a plug-in read, or the text of one that
    /// no installed plug-in serves, which is written back as it came.
    struct ExtensionBlock {
        QString feature;
        QAStUnknownElement::Text kept;
    };

    QAStNode* _node;
    QList<ExtensionBlock> _extensionBlocks;

    static QAPropertyMapGroup* _descriptor;
    static QList<QAProperty*>* _perlVariables;
    static StudioInterface* _studio;
};
