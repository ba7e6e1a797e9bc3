#pragma once

#include "sdk_export.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

class QAILogMonitor;
class QAProperty;
class QAPropertyGroup;
class QAPropertyMapBool;
class QAPropertyMapComboInt;
class QAPropertyMapComboString;
class QAPropertyMapGroup;
class QAPropertyMapInt;
class QAPropertyMapLineEdit;
class QAPropertyMapListBox;
class QAPropertyMapPathBox;
class QAPropertyMapPathItem;
class QAPropertyMapYesNo;
class QARes;

/// Turns a property definition file into a tree of store-bound properties.
///
/// The file is resource text: a `properties` group holding one `property`
/// group per entry, each naming its place in the tree by a path. Which
/// settings exist, their kinds, titles, help texts, Perl variables and the
/// contexts they appear in are thereby data, not code. A derived loader adds
/// kinds of its own by overriding createProperty().
class SDK_EXPORT QAPropertyMapLoader
{
public:
    QAPropertyMapLoader();
    virtual ~QAPropertyMapLoader();
    QAPropertyMapLoader(const QAPropertyMapLoader&) = delete;
    QAPropertyMapLoader& operator=(const QAPropertyMapLoader&) = delete;

    /// The property for the \a type word, with its kind's own fields read from
    /// \a item; null, with a report, for a word no loader knows.
    virtual QAProperty* createProperty(const QString& type, const QString& key, QARes* item);
    virtual void init(QAPropertyMapGroup* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapInt* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapComboInt* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapBool* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapYesNo* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapLineEdit* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapComboString* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapPathItem* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapListBox* property, const QString& key, QARes* item);
    virtual void init(QAPropertyMapPathBox* property, const QString& key, QARes* item);

    /// The root group of the tree that \a file defines, owned by the caller,
    /// or null. Every failure is one line to \a log, which may be null.
    QAPropertyMapGroup* load(const QString& file, const QMap<QString, int>& filters,
                             const QList<unsigned int>& maskGroups, QAILogMonitor* log);

    static QStringList loadPath(QARes* item);
    static QString loadType(QARes* item);
    static int loadFileDialogMode(QARes* item);
    static QStringList loadFileExtension(QARes* item);
    void loadProperty(QAProperty* property, QARes* item);
    static QAPropertyGroup* searchPath(const QStringList& pieces, QAPropertyGroup* root);

protected:
    /// The field \a name of the entry \a item, or null.
    static QARes* field(QARes* item, const char* name);
    static void report(const QString& text);

private:
    quint32 filterBits(QARes* names);

    QMap<QString, int> filters;
    QList<unsigned int> maskGroups;
};
