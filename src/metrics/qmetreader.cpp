#include "qmetreader.h"

#include "qastdata.h"
#include "studiointerface.h"

#include <QFile>
#include <QHash>
#include <QLoggingCategory>
#include <QXmlStreamReader>

Q_LOGGING_CATEGORY(lcSdkMetrics, "sdk.metrics", QtWarningMsg)


QMetReader::QMetReader(const QString& file, QMetTree* tree, const char* name) : _tree(tree)
{
    setObjectName(QLatin1String(name));
    createRoot();
    addMetFile(file);
}

QMetReader::QMetReader(const QStringList& files, QMetTree* tree, const char* name) : _tree(tree)
{
    setObjectName(QLatin1String(name));
    createRoot();
    addMetFiles(files);
}

void QMetReader::createRoot()
{
    _root = _document.createElement(QStringLiteral("ROOT"));
    _document.appendChild(_root);
}

void QMetReader::addMetFiles(QStringList& files)
{
    for (qsizetype i = 0; i < files.size(); ++i) {
        for (qsizetype later = files.size() - 1; later > i; --later) {
            if (files.at(later) == files.at(i))
                files.removeAt(later);
        }
        addMetFile(files.at(i));
    }
}

void QMetReader::addMetFiles(const QStringList& files)
{
    QStringList copy = files;
    addMetFiles(copy);
}

void QMetReader::addMetFile(const QString& file)
{
    readXmlFile(file);
}

QDomElement QMetReader::readXmlFile(const QString& file)
{
    QFile device(file);
    if (!device.open(QIODevice::ReadOnly)) {
        qCDebug(lcSdkMetrics, "cannot open %s", qPrintable(file));
        return QDomElement();
    }
    // The file is read straight into the reader's document, behind the last
    // file, and taken out again when it turns out broken: no copy of a file
    // that parsed, which a deep import would cost. Names of tags and
    // attributes repeat on every line: each is made once and shared.
    const QByteArray content = device.readAll();
    QXmlStreamReader reader(content);
    reader.setNamespaceProcessing(false);
    QHash<QStringView, QString> names;
    auto shared = [&names](QStringView name) -> QString {
        auto it = names.constFind(name);
        if (it == names.cend()) {
            // The key views the text that the value keeps alive.
            const QString owned = name.toString();
            it = names.insert(QStringView(owned), owned);
        }
        return it.value();
    };
    QDomElement top;
    QDomElement current;
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            if (++depth > MaximumDepth) {
                reader.raiseError(QStringLiteral("items nested too deep"));
                break;
            }
            QDomElement element = _document.createElement(shared(reader.name()));
            const QXmlStreamAttributes attributes = reader.attributes();
            for (const QXmlStreamAttribute& attribute : attributes)
                element.setAttribute(shared(attribute.qualifiedName()), attribute.value().toString());
            if (top.isNull()) {
                top = element;
                _root.appendChild(top);
            } else {
                current.appendChild(element);
            }
            current = element;
            break;
        }
        case QXmlStreamReader::EndElement:
            --depth;
            current = current.parentNode().toElement();
            break;
        default:
            break;
        }
    }
    if (!reader.hasError() && !top.isNull())
        return top;
    qCDebug(lcSdkMetrics, "%s:%lld:%lld: %s", qPrintable(file), reader.lineNumber(), reader.columnNumber(),
            qPrintable(reader.errorString()));
    if (!top.isNull())
        _root.removeChild(top);
    if (StudioInterface* studio = QAStData::studioIFace())
        studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                           tr("Parsing error for file %1").arg(file));
    return QDomElement();
}
