// A plug-in of this studio that calls a function no library defines: the
// dynamic loader can bind it only when it is first called.

#include "qasttestnodeplugin.h"

extern "C" int sdkTestsMissingFunction();

class BrokenPlugin : public QAStTestNodePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
public:
    QStringList nodeFeatures() const override { return {"broken"}; }
    void initialize() override { setProperty("missing", sdkTestsMissingFunction()); }
};

#include "brokenplugin.moc"
