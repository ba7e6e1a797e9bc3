#pragma once

#include "batchfixture.h"

#include <QDomDocument>

/// Copies of the component test project of testdata/unittest, the ring
/// buffer, edited by a test before the batch host builds them.
struct UnitTestFixture : BatchFixture {
    using Edits = QList<QPair<QString, QString>>;

    /// A fresh copy with the script and the project file edited; the copy's
    /// project file, or a null string when an edit found nothing to replace.
    QString copy(const Edits& scriptEdits, const Edits& projectEdits = Edits()) const
    {
        if (!copyTree(QStringLiteral(SDK_TESTDATA_DIR "/unittest"), path(QStringLiteral("unittest")))
            || !edit(QStringLiteral("src/ring.ptu"), scriptEdits) || !edit(QStringLiteral("unittest.vmp"), projectEdits))
            return QString();
        return path(QStringLiteral("unittest/unittest.vmp"));
    }
    bool edit(const QString& name, const Edits& edits) const
    {
        const QString file = path(QStringLiteral("unittest/") + name);
        QString text = QString::fromUtf8(readFile(file));
        if (text.isEmpty())
            return false;
        for (const auto& [before, after] : edits) {
            if (!text.contains(before))
                return false;
            text.replace(before, after);
        }
        return writeFile(file, text.toUtf8());
    }
    /// "service.test verdict" of each test of the node's report, each
    /// followed by its failures as "variable expected obtained line".
    QStringList report(QString* state) const
    {
        QFile in(path(QStringLiteral("unittest/obj/ring.xrd")));
        QDomDocument document;
        if (!in.open(QIODevice::ReadOnly) || !document.setContent(&in))
            return {QStringLiteral("no report")};
        const QDomElement node = document.documentElement().firstChildElement(QStringLiteral("XROD:NODE"));
        *state = node.attribute(QStringLiteral("state"));
        QStringList tests;
        for (QDomElement test = node.firstChildElement(); !test.isNull(); test = test.nextSiblingElement()) {
            tests << test.attribute(QStringLiteral("service")) + QLatin1Char('.') + test.attribute(QStringLiteral("test"))
                    + QLatin1Char(' ') + test.attribute(QStringLiteral("verdict")) + test.attribute(QStringLiteral("signal"));
            for (QDomElement failure = test.firstChildElement(); !failure.isNull(); failure = failure.nextSiblingElement())
                tests << QStringList {failure.attribute(QStringLiteral("variable"), failure.attribute(QStringLiteral("function"))),
                                      failure.attribute(QStringLiteral("expected")), failure.attribute(QStringLiteral("obtained")),
                                      failure.attribute(QStringLiteral("line"))}
                             .join(QLatin1Char(' '));
        }
        return tests;
    }
};
