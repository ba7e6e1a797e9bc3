#pragma once

#include "qastnodefileref.h"

/// A source file compiled into its parent by the script "Source.pl",
/// instrumented for the run-time analyses or integrated as it stands.
class SDK_EXPORT QAStNodeSource : public QAStNodeFileRef
{
    Q_OBJECT
public:
    enum Mode { Instrumented = 0, Integrated = 1 };
    Q_ENUM(Mode)

    QAStNodeSource(const QString& key, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeSource(QAStFile* file, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeSource(const QDomElement& element, int version, QAStData* parent = nullptr,
                   QAStData* after = nullptr);
    QAStNodeSource(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    void generateEnv(QTextStream& stream) override;
    QAPropertyGroup* propertyGroup() override;
    unsigned int settingsMask() const override;
    void buildFinishEvent() override;

    bool integratedSource() const { return _mode.get() == Integrated; }
    Mode mode() const { return static_cast<Mode>(_mode.get()); }
    void setMode(Mode mode);
    QAStAttribute<int>& modeAttribute() { return _mode; }

public slots:
    void propertyModified(QAProperty* property) override;

private:
    void takeDependencies();
    void initGlobal();
    void init(const QDomElement& element, int version);
    void init(QARes* resources);
    void showMode();
    void writeObjectTestFiles(QTextStream& stream);

    QAStAttribute<int> _mode {Instrumented, false};
};
