#include "qastplugin.h"

#include "qastfeatureplugin.h"
#include "qaststudioplugin.h"

QAComponentPlugin::~QAComponentPlugin() = default;

QAStPlugin::QAStPlugin(QObject* parent) : QObject(parent) {}
QAStPlugin::~QAStPlugin() = default;

QString QAStPlugin::pluginName() const { return QString::fromLatin1(metaObject()->className()); }
QPixmap QAStPlugin::pluginIcon() const { return QPixmap(); }
QString QAStPlugin::pluginDescription() const { return QString(); }
QString QAStPlugin::pluginCompanyName() const { return QString(); }
QPixmap QAStPlugin::pluginCompanyIcon() const { return QPixmap(); }
QString QAStPlugin::pluginCompanyDescription() const { return QString(); }
QString QAStPlugin::pluginCopyRight() const { return QString(); }
QString QAStPlugin::pluginVersion() const { return QString(); }
QDateTime QAStPlugin::pluginCreation() const { return QDateTime(); }
QString QAStPlugin::componentName() const { return pluginName(); }
QString QAStPlugin::componentDescription() const { return pluginDescription(); }
QString QAStPlugin::componentAuthor() const { return pluginCompanyName(); }
QString QAStPlugin::componentVersion() const { return pluginVersion(); }
bool QAStPlugin::initLibrary() { return true; }
void QAStPlugin::cleanupLibrary() {}
bool QAStPlugin::canUnload() const { return true; }
QUnknownInterface* QAStPlugin::queryExtension(const QUuid&) { return nullptr; }

QStringList QAStFeaturePlugin::features() const { return {}; }
QString QAStFeaturePlugin::title(const QString& feature) const { return feature; }
QPixmap QAStFeaturePlugin::logo(const QString&) const { return QPixmap(); }
QString QAStFeaturePlugin::description(const QString&) const { return QString(); }

void QAStStudioPlugin::initialize(QUnknownInterface*, QARes*) {}
void QAStStudioPlugin::accept() {}
QStringList QAStStudioPlugin::filters() { return {}; }
bool QAStStudioPlugin::connectAccepted(QObject*, const char*) { return false; }
bool QAStStudioPlugin::connectRejected(QObject*, const char*) { return false; }
QWidget* QAStStudioPlugin::preferenceSettings() { return nullptr; }
