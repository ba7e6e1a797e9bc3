#include "qastdatafactory.h"

#include "nodetaginterface.h"
#include "nodetestinterface.h"
#include "qainterfaceids.h"
#include "qastaclasstag.h"
#include "qastamethodtag.h"
#include "qastapackagetag.h"
#include "qastastructtag.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastnodeapplication.h"
#include "qastnodegroup.h"
#include "qastnodelibrary.h"
#include "qastnodelink.h"
#include "qastnodesource.h"
#include "qastnodeuser.h"
#include "qastnodetestscript.h"
#include "qastnodeunittesting.h"
#include "qastnodeplugincenter.h"
#include "qastsubproject.h"
#include "qatrace.h"

#include <QDomElement>

namespace {

// The codes are those of the project file's element table; a code stays with
// its element even while other codes are unused.
enum ClassCode {
    CodeTag = 0,
    CodeFolder = 1,
    CodeFile = 2,
    CodeClass = 3,
    CodeFunction = 4,
    CodeMethod = 5,
    CodeStruct = 6,
    CodePackage = 7,
    CodeSource = 8,
    CodeTestScript = 9,
    CodeApplication = 10,
    CodeLibrary = 11,
    CodeGroup = 12,
    CodeSubProject = 13,
    CodeUnitTesting = 14,
    CodeUnitTestingScript = 15,
    CodeObjectTesting = 18,
    CodeJavaTesting = 19,
    CodeJavaTestingScript = 20,
    CodeUser = 21,
    CodeLink = 23
};

QHash<QString, QAStDataFactory::Maker>& makers()
{
    static QHash<QString, QAStDataFactory::Maker> map = [] {
        QHash<QString, QAStDataFactory::Maker> m;
        m.insert(QStringLiteral("QAStNodeGroup"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData*) -> QAStData* {
                     return new QAStNodeGroup(name, parent, after);
                 });
        // A source made for a file of the project takes the file's key.
        m.insert(QStringLiteral("QAStNodeSource"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData* subject) -> QAStData* {
                     if (auto* file = qobject_cast<QAStFile*>(subject))
                         return new QAStNodeSource(file, parent, after);
                     return new QAStNodeSource(name, parent, after);
                 });
        m.insert(QStringLiteral("QAStNodeApplication"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData*) -> QAStData* {
                     return new QAStNodeApplication(name, parent, after);
                 });
        m.insert(QStringLiteral("QAStNodeLibrary"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData*) -> QAStData* {
                     return new QAStNodeLibrary(name, parent, after);
                 });
        m.insert(QStringLiteral("QAStNodeUser"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData*) -> QAStData* {
                     return new QAStNodeUser(name, parent, after);
                 });
        // A link is made over the node it names; without one there is none.
        m.insert(QStringLiteral("QAStNodeLink"),
                 [](const QString&, QAStData* parent, QAStData* after, QAStData* subject) -> QAStData* {
                     QAStNode* target = QAStNode::toNode(subject);
                     return target ? new QAStNodeLink(target, parent, after) : nullptr;
                 });
        // The test nodes of component testing, and their scripts, made over a
        // file of the project when one is given.
        m.insert(QStringLiteral("QAStNodeUnitTesting"), [](const QString& name, QAStData* parent, QAStData* after,
                                                           QAStData*) -> QAStData* {
            return new QAStNodeUnitTesting(name, parent, after);
        });
        m.insert(QStringLiteral("QAStNodeObjectTesting"), [](const QString& name, QAStData* parent, QAStData* after,
                                                             QAStData*) -> QAStData* {
            return new QAStNodeObjectTesting(name, parent, after);
        });
        m.insert(QStringLiteral("QAStNodeJavaTesting"), [](const QString& name, QAStData* parent, QAStData* after,
                                                           QAStData*) -> QAStData* {
            return new QAStNodeJavaTesting(name, parent, after);
        });
        m.insert(QStringLiteral("QAStNodeUnitTestingScript"),
                 [](const QString& name, QAStData* parent, QAStData* after, QAStData* subject) -> QAStData* {
                     if (auto* file = qobject_cast<QAStFile*>(subject))
                         return new QAStNodeUnitTestingScript(file, parent, after);
                     return new QAStNodeUnitTestingScript(name, parent, after);
                 });
        return m;
    }();
    return map;
}

// The first of the plug-ins' interfaces that serves \a name, in the order
// that decides a name served under several: a configuration block, a test
// node kind, a tag kind.
InterfaceDescriptor pluginInterface(const QString& name)
{
    static const QUuid order[] = {IID_ConfigurationBlock, IID_NodeTest, IID_NodeTag};
    QAStNodePluginCenter* center = QAStNodePluginCenter::nodePluginCenter();
    for (int kind = 0; kind < 3; ++kind) {
        QUnknownInterface* face = nullptr;
        center->queryComponentInterface(name, order[kind], &face);
        if (face)
            return {kind, face};
    }
    return {-1, nullptr};
}

// What the plug-ins served, by element name, found once. Never destroyed:
// the interfaces it holds live as long as the process.
QHash<QString, InterfaceDescriptor>& pluginInterfaces()
{
    static auto* cache = new QHash<QString, InterfaceDescriptor>;
    return *cache;
}

} // namespace

const QHash<QString, int>& QAStDataFactory::elementMap()
{
    static const QHash<QString, int> map = [] {
        warning("QAStDataFactory: initialization of map element");
        QHash<QString, int> m;
        m.insert(QStringLiteral("tag"), CodeTag);
        m.insert(QStringLiteral("folder"), CodeFolder);
        m.insert(QStringLiteral("file"), CodeFile);
        m.insert(QStringLiteral("source"), CodeSource);
        m.insert(QStringLiteral("class"), CodeClass);
        m.insert(QStringLiteral("function"), CodeFunction);
        m.insert(QStringLiteral("method"), CodeMethod);
        m.insert(QStringLiteral("struct"), CodeStruct);
        m.insert(QStringLiteral("package"), CodePackage);
        m.insert(QStringLiteral("application"), CodeApplication);
        m.insert(QStringLiteral("library"), CodeLibrary);
        m.insert(QStringLiteral("group"), CodeGroup);
        m.insert(QStringLiteral("sub_project"), CodeSubProject);
        m.insert(QStringLiteral("user"), CodeUser);
        m.insert(QStringLiteral("link"), CodeLink);
        m.insert(QStringLiteral("test_script"), CodeTestScript);
        m.insert(QStringLiteral("unit_testing"), CodeUnitTesting);
        m.insert(QStringLiteral("unittesting_script"), CodeUnitTestingScript);
        m.insert(QStringLiteral("object_testing"), CodeObjectTesting);
        m.insert(QStringLiteral("java_testing"), CodeJavaTesting);
        m.insert(QStringLiteral("javatesting_script"), CodeJavaTestingScript);
        return m;
    }();
    return map;
}

int QAStDataFactory::classCode(const QString& elementName)
{
    return elementMap().value(elementName, -1);
}

QString QAStDataFactory::resourceClassName(const QString& type)
{
    // Older files name a few kinds by the words the user saw then.
    static const QHash<QString, QString> shortNames {
        {QStringLiteral("Group"), QStringLiteral("QAStNodeGroup")},
        {QStringLiteral("Klassor"), QStringLiteral("QAStNodeObjectTesting")},
        {QStringLiteral("Tracer"), QStringLiteral("QAStNodeApplication")},
        {QStringLiteral("Source"), QStringLiteral("QAStNodeSource")},
        {QStringLiteral("TestScript"), QStringLiteral("QAStNodeTestScript")},
        {QStringLiteral("User"), QStringLiteral("QAStNodeUser")},
    };
    static const QStringList classNames {
        QStringLiteral("QAStNodeGroup"), QStringLiteral("QAStNodeObjectTesting"),
        QStringLiteral("QAStNodeUnitTesting"), QStringLiteral("QAStNodeSystemTesting"),
        QStringLiteral("QAStNodeApplication"), QStringLiteral("QAStNodeSource"),
        QStringLiteral("QAStNodeSystemTestingScript"), QStringLiteral("QAStNodeUnitTestingScript"),
        QStringLiteral("QAStNodeVirtualTester"), QStringLiteral("QAStNodeTestScript"),
        QStringLiteral("QAStNodeUser"), QStringLiteral("QAStFolder"), QStringLiteral("QAStFile"),
        QStringLiteral("QAStGlobalFolder"), QStringLiteral("QAStSourceFolder"),
        QStringLiteral("QAStScriptFolder"), QStringLiteral("QAStDependenciesFolder"),
    };
    if (shortNames.contains(type))
        return shortNames.value(type);
    return classNames.contains(type) ? type : QString();
}

QAStData* QAStDataFactory::create(const QString& className, QARes* resources, QAStData* parent,
                                  QAStData* after)
{
    if (className == QLatin1String("QAStNodeGroup"))
        return new QAStNodeGroup(resources, parent, after);
    if (className == QLatin1String("QAStNodeSource"))
        return new QAStNodeSource(resources, parent, after);
    if (className == QLatin1String("QAStNodeApplication"))
        return new QAStNodeApplication(resources, parent, after);
    if (className == QLatin1String("QAStNodeUser"))
        return new QAStNodeUser(resources, parent, after);
    if (className == QLatin1String("QAStNodeTestScript"))
        return new QAStNodeTestScript(resources, parent, after);
    if (className == QLatin1String("QAStNodeUnitTestingScript"))
        return new QAStNodeUnitTestingScript(resources, parent, after);
    if (className == QLatin1String("QAStNodeUnitTesting"))
        return new QAStNodeUnitTesting(resources, parent, after);
    if (className == QLatin1String("QAStNodeObjectTesting"))
        return new QAStNodeObjectTesting(resources, parent, after);
    if (className == QLatin1String("QAStFolder"))
        return new QAStFolder(resources, parent, after);
    if (className == QLatin1String("QAStFile"))
        return new QAStFile(resources, parent, after);
    warning("No plugin found for feature %s", qPrintable(className));
    return nullptr;
}

QAStData* QAStDataFactory::create(const QDomElement& element, int version, QAStData* parent,
                                  QAStData* after)
{
    switch (classCode(element.tagName())) {
    case CodeFolder:
        return new QAStFolder(element, version, parent, after);
    case CodeFile:
        return new QAStFile(element, version, parent, after);
    case CodeSource:
        return new QAStNodeSource(element, version, parent, after);
    case CodeTag:
        return new QAStATag(element, version, parent, after);
    case CodeClass:
        return new QAStAClassTag(element, version, parent, after);
    case CodeFunction:
        return new QAStAFunctionTag(element, version, parent, after);
    case CodeMethod:
        return new QAStAMethodTag(element, version, parent, after);
    case CodeStruct:
        return new QAStAStructTag(element, version, parent, after);
    case CodePackage:
        return new QAStAPackageTag(element, version, parent, after);
    case CodeGroup:
        return new QAStNodeGroup(element, version, parent, after);
    case CodeSubProject:
        return new QAStSubProject(element, version, parent, after);
    case CodeApplication:
        return new QAStNodeApplication(element, version, parent, after);
    case CodeLibrary:
        return new QAStNodeLibrary(element, version, parent, after);
    case CodeUser:
        return new QAStNodeUser(element, version, parent, after);
    case CodeLink:
        return new QAStNodeLink(element, version, parent, after);
    case CodeTestScript:
        return new QAStNodeTestScript(element, version, parent, after);
    case CodeUnitTesting:
        return new QAStNodeUnitTesting(element, version, parent, after);
    case CodeUnitTestingScript:
        return new QAStNodeUnitTestingScript(element, version, parent, after);
    case CodeObjectTesting:
        return new QAStNodeObjectTesting(element, version, parent, after);
    case CodeJavaTesting:
        return new QAStNodeJavaTesting(element, version, parent, after);
    case CodeJavaTestingScript:
        return new QAStNodeJavaTestingScript(element, version, parent, after);
    default:
        break;
    }
    const QString name = element.tagName();
    QHash<QString, InterfaceDescriptor>& cache = pluginInterfaces();
    auto found = cache.constFind(name);
    if (found == cache.constEnd()) {
        const InterfaceDescriptor descriptor = pluginInterface(name);
        if (descriptor.interface)
            found = cache.insert(name, descriptor);
    }
    // A name served as a configuration block is no element of the tree.
    if (found != cache.constEnd() && found->kind == 1)
        return static_cast<NodeTestInterface*>(found->interface)->nodeTest(name, element, version, parent, after);
    if (found != cache.constEnd() && found->kind == 2)
        return static_cast<NodeTagInterface*>(found->interface)->nodeTag(name, element, version, parent, after);
    warning("No plugin found for feature %s", qPrintable(name));
    return nullptr;
}

void QAStDataFactory::registerMaker(const QString& className, const Maker& maker)
{
    if (maker)
        makers().insert(className, maker);
    else
        makers().remove(className);
}

bool QAStDataFactory::hasMaker(const QString& className)
{
    return makers().contains(className);
}

QAStData* QAStDataFactory::make(const QString& className, const QString& name, QAStData* parent,
                                QAStData* after, QAStData* subject)
{
    const auto it = makers().constFind(className);
    if (it == makers().constEnd()) {
        warning("QAStDataFactory: no class %s to make %s", qPrintable(className), qPrintable(name));
        return nullptr;
    }
    return it.value()(name, parent, after, subject);
}
