#pragma once

#include "qastnodefileref.h"

#include <QPointer>
#include <QStringList>

class QARes;
class QAProcess;

/// A test script of one of the test languages: the tests and families the
/// script holds, and the user's selection among them, which the script's
/// step receives.
class SDK_EXPORT QAStNodeTestScript : public QAStNodeFileRef
{
    Q_OBJECT
public:
    QAStNodeTestScript(const QString& key, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeTestScript(QAStFile* file, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeTestScript(const QDomElement& element, int version, QAStData* parent = nullptr,
                       QAStData* after = nullptr);
    QAStNodeTestScript(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void generateEnv(QTextStream& stream) override;
    void write(QTextStream& stream, int indent) override;
    bool mustRebuilt() override;
    void buildFinishEvent() override;
    unsigned int settingsMask() const override;

    /// Runs a supervision script inside a system testing node.
    virtual void executeSPV();
    /// Lets the user choose the tests and families that run.
    virtual void testerConfiguration();

    /// Takes the families and the services with their tests of an analysis
    /// result: new items join the selection, items gone leave it. A part the
    /// result lacks is left as it was.
    void updateFamilyAndService(QARes* result);

    const QStringList& casAll() const { return _casAll; }
    const QStringList& famAll() const { return _famAll; }
    const QStringList& casSelection() const { return _casSelection; }
    const QStringList& famSelection() const { return _famSelection; }
    void setCasSelection(const QStringList& selection) { _casSelection = selection; }
    void setFamSelection(const QStringList& selection) { _famSelection = selection; }
    bool useVtSelection() const { return _useVtSelection; }
    bool useVtFamSelection() const { return _useVtFamSelection; }
    void setUseVtSelection(bool use) { _useVtSelection = use; }
    void setUseVtFamSelection(bool use) { _useVtFamSelection = use; }
    QString instance() const { return _instance; }
    void setInstance(const QString& instance) { _instance = instance; }

public slots:
    void spvExecutionTerminated();

protected:
    /// The element of the common form, for the wrappers of derived kinds.
    void writeTestScript(QTextStream& stream, int indent);

    QString _instance;
    QStringList _casAll;
    QStringList _famAll;
    QStringList _casSelection;
    QStringList _famSelection;
    bool _useVtSelection = true;
    bool _useVtFamSelection = true;

private:
    void initGlobal();
    void init(const QDomElement& element, int version);
    void init(QARes* resources);
    void writeObjectTestFiles(QTextStream& stream);
};

/// A component test script of C: analysed by "utags" before every build,
/// so that the lists follow the script as it is edited.
class SDK_EXPORT QAStNodeUnitTestingScript : public QAStNodeTestScript
{
    Q_OBJECT
public:
    QAStNodeUnitTestingScript(const QString& key, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeUnitTestingScript(QAStFile* file, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeUnitTestingScript(const QDomElement& element, int version, QAStData* parent = nullptr,
                              QAStData* after = nullptr);
    QAStNodeUnitTestingScript(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStNodeUnitTestingScript() override;

    void localActionMenuItems(QMenu* menu) override;
    void write(QTextStream& stream, int indent) override;
    void buildNode() override;
    unsigned int settingsMask() const override;
    void testerConfiguration() override;

    /// Analyses the script; the result goes to the selection dialog.
    void startTag();
    /// Analyses the script and goes on with the build when that worked.
    void startTagForBuild();

public slots:
    virtual void updateTestScript();
    virtual void updateScriptTerminated();
    void tagTerminated(bool normalExit, int status);
    void tagTerminatedForBuild(bool normalExit, int status);

private:
    bool startAnalysis(bool forBuild);
    /// The analysis result in the node's directory, read; null with the
    /// failure's text in \a error.
    QARes* readAnalysis(bool normalExit, int status, QString* error);
    void selectTests();

    QAProcess* _tagProcess = nullptr;
};

/// A Java test script, compiled like a source.
class SDK_EXPORT QAStNodeJavaTestingScript : public QAStNodeTestScript
{
    Q_OBJECT
public:
    QAStNodeJavaTestingScript(const QString& key, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeJavaTestingScript(QAStFile* file, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeJavaTestingScript(const QDomElement& element, int version, QAStData* parent = nullptr,
                              QAStData* after = nullptr);
    QAStNodeJavaTestingScript(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    unsigned int settingsMask() const override;
};
