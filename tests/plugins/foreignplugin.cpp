// A Qt plug-in built for some other program's interface.

#include <QObject>
#include <QtPlugin>

class ForeignPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.Elsewhere/2.0")
};

#include "foreignplugin.moc"
