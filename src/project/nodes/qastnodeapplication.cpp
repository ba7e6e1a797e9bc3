#include "qastnodeapplication.h"

#include "programnode_p.h"

#include <QDomElement>
#include <QTextStream>

QAStNodeApplication::QAStNodeApplication(const QString& name, QAStData* parent, QAStData* after)
    : QAStNodeTest(name, pixmap(QStringLiteral("application_xpm")), parent, after)
{
    initGlobal();
}

QAStNodeApplication::QAStNodeApplication(const QDomElement& element, int version, QAStData* parent,
                                         QAStData* after)
    : QAStNodeTest(element.firstChildElement(), version, parent, after)
{
    CHECK_TAG(element, "application");
    initGlobal();
}

QAStNodeApplication::QAStNodeApplication(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTest(resources, parent, after)
{
    initGlobal();
}

void QAStNodeApplication::initGlobal()
{
    if (!iconName.isSet)
        setIcon(pixmap(QStringLiteral("application_xpm")));
    setPerlScriptAfterChild(QStringLiteral("Application.pl"));
}

void QAStNodeApplication::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<application>\n";
    QAStNodeTest::write(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</application>\n";
}

unsigned int QAStNodeApplication::settingsMask() const
{
    return 0x100000;
}

void QAStNodeApplication::buildFirstChild()
{
    const ProgramNode::Preparation preparation = ProgramNode::preparationOf(this);
    if (preparation.script.isEmpty()) {
        QAStNodeTest::buildFirstChild();
        return;
    }
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeApplication::processingScriptTerminated,
            Qt::UniqueConnection);
    if (!ProgramNode::startPreparation(this, preparation)) {
        disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeApplication::processingScriptTerminated);
        abortBuildExecute();
    }
}

void QAStNodeApplication::processingScriptTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeApplication::processingScriptTerminated);
    if (!ProgramNode::preparationSucceeded(this)) {
        abortBuildExecute();
        return;
    }
    QAStNodeTest::buildFirstChild();
}

// A program is linked again when something below changed; whether the
// program is older than its objects is the test nodes' concern, not this one's.
bool QAStNodeApplication::mustRebuilt()
{
    return ProgramNode::alwaysRebuilt(this) || QAStNode::mustRebuilt();
}

void QAStNodeApplication::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    ProgramNode::writeProgramLists(this, stream);
}

QStringList QAStNodeApplication::fileFilters()
{
    return ProgramNode::fileFilters(this);
}
