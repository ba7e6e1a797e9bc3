#pragma once

#include "qastnodecontainer.h"

/// A library, or a program, made by "Library.pl" from the sources below it.
/// The setting "generationFormat" says which: a static library ("LIB"), a
/// shared one ("DLL") or a program ("EXE"). Other nodes take it in through
/// links.
class SDK_EXPORT QAStNodeLibrary : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeLibrary(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeLibrary(const QDomElement& element, int version, QAStData* parent = nullptr,
                    QAStData* after = nullptr);
    QAStNodeLibrary(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    unsigned int settingsMask() const override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    void buildFirstChild() override;
    bool mustRebuilt() override;
    void generateEnv(QTextStream& stream) override;
    virtual QStringList fileFilters();
    /// The file the node makes, as the settings name it; null without a
    /// configuration.
    QString product();

public slots:
    virtual void processingScriptTerminated();

private:
    void initGlobal();
};
