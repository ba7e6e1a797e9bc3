#pragma once

#include "qastnodetest.h"

/// A program under observation: built from the sources below it, linked
/// with the libraries its links name, and run by "Application.pl". Before
/// its children build, a preparation script may run over its sources: for
/// probes, or for an Ada or Java target port.
class SDK_EXPORT QAStNodeApplication : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeApplication(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeApplication(const QDomElement& element, int version, QAStData* parent = nullptr,
                        QAStData* after = nullptr);
    QAStNodeApplication(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    unsigned int settingsMask() const override;
    void buildFirstChild() override;
    bool mustRebuilt() override;
    void generateEnv(QTextStream& stream) override;
    /// The filters of the dialog that adds sources to the node.
    virtual QStringList fileFilters();

public slots:
    virtual void processingScriptTerminated();

private:
    void initGlobal();
};
