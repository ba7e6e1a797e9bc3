// The example project of the sample plug-in on an installation without the
// plug-in: it loads as a bad project file, shows what it could read, and a
// save gives back every element the plug-in needs.

#include "projectfiles.h"
#include "qastconfiguration.h"
#include "qastnodeplugincenter.h"
#include "qainterfaceids.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "qastunknownelement.h"
#include "recordinghost.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

// The staged installation but for its plug-ins.
class HostWithoutPlugins : public RecordingHost
{
public:
    QString installDir() override { return empty.path(); }
    QString dataDir() override { return stageDir(); }
    QTemporaryDir empty;
};

} // namespace

class tst_SampleWithoutPlugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        QVERIFY(QAStNodePluginCenter::nodePluginCenter()->featureList(IID_ConfigurationBlock).isEmpty());
        QVERIFY(copyTree(QStringLiteral(SDK_EXAMPLES_DIR "/filecheck"), work.path()));
    }

    void cleanupTestCase()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
    }

    void unknownNodesAndBlocksAreKept()
    {
        const QString path = work.filePath(QStringLiteral("filecheck.vmp"));
        const QByteArray before = readFile(path);
        QAStProject project(path);
        QVERIFY(!project.isValid());
        QCOMPARE(QAStData::lastErrorString().count(QStringLiteral("No plugin found for feature \"file_check\"\n")), 2);
        QVERIFY(host.consoleText(QAStData::MessageConsole).contains(QStringLiteral("Tag ignored in the group: file_check")));
        // Each node stands where it stood, and is no node to build.
        QStringList kept;
        for (QAStData* child = project.firstChild(); child; child = child->next()) {
            auto* unknown = qobject_cast<QAStUnknownElement*>(child);
            QVERIFY(unknown && unknown->tagName() == QLatin1String("file_check"));
            kept << unknown->displayName();
        }
        QCOMPARE(kept, (QStringList {"Sources (no plug-in for file_check)", "Release notes (no plug-in for file_check)"}));
        QVERIFY(project.children().isEmpty());
        // The block's settings are no settings here.
        QAStConfiguration* initial = project.initialConfiguration(QStringLiteral("Native C"));
        QVERIFY(initial && !initial->hasProperty(QStringLiteral("fileCheckMinSize")));

        QVERIFY(project.saveProcess());
        QCOMPARE(withoutInstallationLines(readFile(path)), withoutInstallationLines(before));
    }

private:
    HostWithoutPlugins host;
    QTemporaryDir work;
};

QTEST_MAIN(tst_SampleWithoutPlugin)
#include "tst_samplewithoutplugin.moc"
