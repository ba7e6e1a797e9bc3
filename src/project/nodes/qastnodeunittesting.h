#pragma once

#include "qastnodetest.h"

/// Component testing of C and Ada units with ".ptu" scripts: one active
/// script tests the units of the node's sources.
class SDK_EXPORT QAStNodeUnitTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeUnitTesting(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeUnitTesting(const QDomElement& element, int version, QAStData* parent = nullptr,
                        QAStData* after = nullptr);
    QAStNodeUnitTesting(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    void generateEnv(QTextStream& stream) override;
    void buildFirstChild() override;
    unsigned int settingsMask() const override;

    /// Whether \a data may join the node. A second active script asks the
    /// user to replace the active one or to make it inactive.
    bool canAdd(QAStData* data) const;
    QStringList fileFilters() const;
    /// The first included script below the node, or null.
    QAStNode* activeScript(const QAStData* other = nullptr) const;

public slots:
    void prepareAdaTDPTerminated();

private:
    void initGlobal();
};

/// Component testing of C++ with ".otc" and ".otd" scripts.
class SDK_EXPORT QAStNodeObjectTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeObjectTesting(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeObjectTesting(const QDomElement& element, int version, QAStData* parent = nullptr,
                          QAStData* after = nullptr);
    QAStNodeObjectTesting(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    /// Keeps the order the tool chain reads: ".otc" scripts, then ".otd"
    /// scripts, then the sources and headers.
    void addChild(QAStData* child, QAStData* after = nullptr) override;
    unsigned int settingsMask() const override;
    QStringList fileFilters() const;

private:
    void initGlobal();
};

/// Java testing: the port is prepared before the children are built.
class SDK_EXPORT QAStNodeJavaTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeJavaTesting(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeJavaTesting(const QDomElement& element, int version, QAStData* parent = nullptr,
                        QAStData* after = nullptr);
    QAStNodeJavaTesting(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    void generateEnv(QTextStream& stream) override;
    void buildFirstChild() override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    unsigned int settingsMask() const override;
    QStringList fileFilters() const;

public slots:
    void prepareJavaTDPTerminated();
    void addTestScriptFiles();

private:
    void initGlobal();
};
