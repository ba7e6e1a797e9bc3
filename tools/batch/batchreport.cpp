#include "batchreport.h"

#include <QDomDocument>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTextStream>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

QString seconds(double value)
{
    return QString::number(value, 'f', 3);
}

QString suiteName(const BatchNodeRecord& record, bool withConfiguration)
{
    return withConfiguration ? QStringLiteral("%1 [%2]").arg(record.path, record.configuration) : record.path;
}

// A node whose result file lists no test stands for one test of its own,
// which its status decides.
QList<BatchTestCase> casesOf(const BatchNodeRecord& record)
{
    if (!record.tests.isEmpty())
        return record.tests;
    BatchTestCase whole;
    whole.name = record.path.section(QLatin1Char('.'), -1);
    whole.verdict = record.status == 0 ? QStringLiteral("ok") : QStringLiteral("failed");
    whole.seconds = record.seconds();
    return {whole};
}

bool isError(const BatchTestCase& test)
{
    return test.verdict == QLatin1String("crashed") || test.verdict == QLatin1String("timeout");
}

QString pad(const QString& text, qsizetype width)
{
    return text.leftJustified(width, QLatin1Char(' '));
}

// Columns as wide as their widest cell, two blanks apart.
void table(const QList<QStringList>& rows, QTextStream& out)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        for (qsizetype i = 0; i < row.size(); ++i) {
            if (widths.size() <= i)
                widths.append(0);
            widths[i] = std::max(widths.at(i), row.at(i).size());
        }
    }
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i)
            line += i + 1 == row.size() ? row.at(i) : pad(row.at(i), widths.at(i) + 2);
        out << line << '\n';
    }
    out.flush();
}

} // namespace

QString BatchTestCase::Problem::text() const
{
    const QString where = file.isEmpty() ? QString() : QStringLiteral(" (%1:%2)").arg(file, line);
    if (stub)
        return QStringLiteral("%1 called %2 times, expected %3%4").arg(what, obtained, expected, where);
    return QStringLiteral("%1: expected %2, obtained %3%4").arg(what, expected, obtained, where);
}

QString BatchNodeRecord::verdict() const
{
    switch (status) {
    case 0: return QStringLiteral("passed");
    case 1: return QStringLiteral("error");
    case 2: return QStringLiteral("stopped");
    case 6: return QStringLiteral("failed");
    default: return QStringLiteral("not run");
    }
}

int BatchNodeRecord::passed() const
{
    const QList<BatchTestCase> cases = casesOf(*this);
    return int(std::count_if(cases.begin(), cases.end(), [](const BatchTestCase& c) { return c.passed(); }));
}

int BatchNodeRecord::failed() const
{
    return int(casesOf(*this).size()) - passed();
}

double BatchReport::readFunctionCoverage(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    // DC "source" calls name: a function that several records name is
    // reached when one of them says so.
    QHash<QByteArray, bool> reached;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (!line.startsWith("DC \""))
            continue;
        const qsizetype close = line.indexOf('"', 4);
        const QList<QByteArray> rest = close < 0 ? QList<QByteArray>() : line.mid(close + 1).simplified().split(' ');
        if (rest.size() != 2)
            continue;
        bool number = false;
        const qlonglong calls = rest.at(0).toLongLong(&number);
        if (!number)
            continue;
        bool& each = reached[line.left(close + 1) + ' ' + rest.at(1)];
        each = each || calls > 0;
    }
    if (reached.isEmpty())
        return -1;
    const auto ran = std::count(reached.cbegin(), reached.cend(), true);
    return 100.0 * double(ran) / double(reached.size());
}

QList<BatchTestCase> BatchReport::readResultFile(const QString& path)
{
    QList<BatchTestCase> tests;
    QFile file(path);
    QDomDocument document;
    // The tags are read as they stand, prefix and all.
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly) || !document.setContent(&file))
        return tests;
    const QDomNodeList elements = document.elementsByTagName(QStringLiteral("XROD:TEST"));
    for (int i = 0; i < elements.size(); ++i) {
        const QDomElement element = elements.at(i).toElement();
        BatchTestCase test;
        test.service = element.attribute(QStringLiteral("service"));
        test.name = element.attribute(QStringLiteral("test"));
        test.verdict = element.attribute(QStringLiteral("verdict"));
        test.signal = element.attribute(QStringLiteral("signal"));
        test.seconds = element.attribute(QStringLiteral("time")).toDouble();
        for (QDomElement problem = element.firstChildElement(); !problem.isNull();
             problem = problem.nextSiblingElement()) {
            const bool stub = problem.tagName() == QLatin1String("XROD:STUB");
            if (!stub && problem.tagName() != QLatin1String("XROD:CHECK"))
                continue;
            test.problems.append({stub, problem.attribute(stub ? QStringLiteral("function") : QStringLiteral("variable")),
                                  problem.attribute(QStringLiteral("expected")),
                                  problem.attribute(QStringLiteral("obtained")),
                                  problem.attribute(QStringLiteral("file")),
                                  problem.attribute(QStringLiteral("line"))});
        }
        tests.append(test);
    }
    return tests;
}

QByteArray BatchReport::junit(const QList<BatchNodeRecord>& records, bool withConfiguration)
{
    int tests = 0, failures = 0, errors = 0;
    double time = 0;
    QList<const BatchNodeRecord*> suites;
    for (const BatchNodeRecord& record : records) {
        if (!record.test)
            continue;
        suites.append(&record);
        for (const BatchTestCase& test : casesOf(record)) {
            ++tests;
            errors += isError(test);
            failures += !test.passed() && !isError(test);
        }
        time += record.seconds();
    }
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuites"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("velmont-batch"));
    xml.writeAttribute(QStringLiteral("tests"), QString::number(tests));
    xml.writeAttribute(QStringLiteral("failures"), QString::number(failures));
    xml.writeAttribute(QStringLiteral("errors"), QString::number(errors));
    xml.writeAttribute(QStringLiteral("time"), seconds(time));
    for (const BatchNodeRecord* record : std::as_const(suites)) {
        const QList<BatchTestCase> cases = casesOf(*record);
        const int suiteErrors = int(std::count_if(cases.begin(), cases.end(), isError));
        xml.writeStartElement(QStringLiteral("testsuite"));
        xml.writeAttribute(QStringLiteral("name"), suiteName(*record, withConfiguration));
        xml.writeAttribute(QStringLiteral("tests"), QString::number(cases.size()));
        xml.writeAttribute(QStringLiteral("failures"), QString::number(record->failed() - suiteErrors));
        xml.writeAttribute(QStringLiteral("errors"), QString::number(suiteErrors));
        xml.writeAttribute(QStringLiteral("skipped"), QStringLiteral("0"));
        xml.writeAttribute(QStringLiteral("time"), seconds(record->seconds()));
        xml.writeAttribute(QStringLiteral("timestamp"), record->start.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
        xml.writeStartElement(QStringLiteral("properties"));
        for (const auto& [key, value] : {std::pair {QStringLiteral("configuration"), record->configuration},
                                         std::pair {QStringLiteral("status"), record->verdict()}}) {
            xml.writeStartElement(QStringLiteral("property"));
            xml.writeAttribute(QStringLiteral("name"), key);
            xml.writeAttribute(QStringLiteral("value"), value);
            xml.writeEndElement();
        }
        xml.writeEndElement();
        for (const BatchTestCase& test : cases) {
            xml.writeStartElement(QStringLiteral("testcase"));
            xml.writeAttribute(QStringLiteral("name"), test.name);
            xml.writeAttribute(QStringLiteral("classname"),
                               test.service.isEmpty() ? record->path : record->path + QLatin1Char('.') + test.service);
            xml.writeAttribute(QStringLiteral("time"), seconds(test.seconds));
            if (!test.passed()) {
                QStringList lines;
                for (const BatchTestCase::Problem& problem : test.problems)
                    lines << problem.text();
                QString message = lines.value(0);
                if (isError(test))
                    message = test.signal.isEmpty() ? test.verdict : test.verdict + QLatin1String(": ") + test.signal;
                else if (message.isEmpty())
                    message = record->tests.isEmpty() ? QStringLiteral("the node ended with status %1 (%2)")
                                                            .arg(record->status).arg(record->verdict())
                                                      : test.verdict;
                xml.writeStartElement(isError(test) ? QStringLiteral("error") : QStringLiteral("failure"));
                xml.writeAttribute(QStringLiteral("message"), message);
                xml.writeAttribute(QStringLiteral("type"), test.verdict);
                if (!lines.isEmpty())
                    xml.writeCharacters(lines.join(QLatin1Char('\n')));
                xml.writeEndElement();
            }
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    return document;
}

bool BatchReport::writeJUnit(const QString& path, const QList<BatchNodeRecord>& records, bool withConfiguration)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(junit(records, withConfiguration)) >= 0 && file.commit();
}

QByteArray BatchReport::jsonLine(const BatchNodeRecord& record)
{
    QJsonArray files;
    for (const auto& [type, path] : record.files)
        files.append(QJsonObject {{"type", type}, {"path", path}});
    QJsonObject object {{"name", record.path},
                        {"kind", record.kind},
                        {"configuration", record.configuration},
                        {"status", record.status},
                        {"verdict", record.verdict()},
                        {"start", record.start.toString(Qt::ISODateWithMs)},
                        {"end", record.end.toString(Qt::ISODateWithMs)},
                        {"duration", record.seconds()},
                        {"files", files}};
    if (record.test) {
        object.insert(QStringLiteral("passed"), record.passed());
        object.insert(QStringLiteral("failed"), record.failed());
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void BatchReport::summary(const QList<BatchNodeRecord>& records, QTextStream& out)
{
    QList<QStringList> rows {{"test node", "configuration", "verdict", "passed", "failed", "functions", "time"}};
    for (const BatchNodeRecord& record : records) {
        if (!record.test)
            continue;
        rows.append({record.path, record.configuration, record.verdict(), QString::number(record.passed()),
                     QString::number(record.failed()),
                     record.functionCoverage < 0 ? QStringLiteral("-")
                                                 : QString::number(record.functionCoverage, 'f', 1) + QLatin1Char('%'),
                     QString::number(record.seconds(), 'f', 2) + QLatin1String(" s")});
    }
    if (rows.size() > 1)
        table(rows, out);
}

void BatchReport::matrix(const QList<BatchNodeRecord>& records, const QStringList& configurations, QTextStream& out)
{
    QStringList nodes;
    QHash<QString, QString> cells;
    for (const BatchNodeRecord& record : records) {
        if (!record.test)
            continue;
        if (!nodes.contains(record.path))
            nodes.append(record.path);
        cells.insert(record.path + QLatin1Char('\n') + record.configuration, record.verdict());
    }
    QList<QStringList> rows {QStringList {QStringLiteral("test node")} + configurations};
    for (const QString& node : std::as_const(nodes)) {
        QStringList row {node};
        for (const QString& configuration : configurations)
            row << cells.value(node + QLatin1Char('\n') + configuration, QStringLiteral("-"));
        rows.append(row);
    }
    table(rows, out);
}
