#pragma once

#include "sdk_export.h"

#include <QMap>
#include <QString>
#include <QStringList>

class QByteArray;
class QDomDocument;

/// Values of settings as the project file holds them: the same encodings as
/// the tree's own values, with the looser readings that settings need (a
/// boolean written as "1", an integer written as "true").
class SDK_EXPORT QAXML
{
public:
    static QString fromString(const QString& value);
    static QString toString(const QString& text);
    static QString fromStringList(const QStringList& list);
    static QStringList toStringList(const QString& text);
    static QString fromMap(const QMap<QString, QString>& map);
    static QMap<QString, QString> toMap(const QString& text);
    static int toInt(const QString& text);
    static unsigned int toUInt(const QString& text);
    static bool toBool(const QString& text);

    /// The element that holds the setting \a key: the key itself when it can
    /// name an element, otherwise each character that cannot stand there
    /// written as "_xHHHH_" (" st_dtrack" is "_x0020_st_dtrack").
    static QString elementName(const QString& key);

    /// Parses a project file or a clipboard item into \a document through
    /// QAStData::parseDocument, which takes the same texts as
    /// QDomDocument::setContent at a cost linear in the depth. The tags of older files that wrote a
    /// key with leading blanks as it is ("< st_dtrack>") are read as the
    /// elements that elementName() gives.
    static bool parse(QDomDocument& document, const QByteArray& text, QString* message = nullptr,
                      int* line = nullptr, int* column = nullptr);
};
