#pragma once

#include "sdk_export.h"

#include <QDomDocument>
#include <QObject>
#include <QStringList>

class QMetTree;

/// Gathers metrics files into one document under a "ROOT" element, each
/// file's document element one child of it. A file that cannot be parsed is
/// reported and left out; the others stand.
class SDK_EXPORT QMetReader : public QObject
{
    Q_OBJECT
public:
    /// Elements nested deeper than this make a file unreadable: the tree is
    /// built by recursion, and no tool writes items that deep.
    static constexpr int MaximumDepth = 200;

    QMetReader(const QString& file, QMetTree* tree = nullptr, const char* name = nullptr);
    QMetReader(const QStringList& files, QMetTree* tree = nullptr, const char* name = nullptr);

    /// Reads each file once: a name met again further down the list is
    /// taken out of it.
    void addMetFiles(QStringList& files);
    void addMetFiles(const QStringList& files);
    void addMetFile(const QString& file);
    /// Reads \a file in behind the last file under "ROOT" and answers its
    /// document element; the null element, with nothing added, when it
    /// cannot be read, after a report when it could be opened but not parsed.
    QDomElement readXmlFile(const QString& file);

    QDomDocument& document() { return _document; }
    QDomElement rootElement() const { return _root; }
    QMetTree* tree() const { return _tree; }

private:
    void createRoot();

    QDomDocument _document;
    QDomElement _root;
    QMetTree* _tree;
};
