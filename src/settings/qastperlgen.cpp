#include "qastperlgen.h"

#include "qafileutil.h"
#include "qastdata.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDir>
#include <QTextStream>

QString QAStPerlGen::perlQuoted(const QString& text)
{
    QString result = text;
    result.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    result.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return result;
}

void QAStPerlGen::quoted(QTextStream& out, const char* name, const QString& value)
{
    out << '$' << name << "='" << perlQuoted(value) << "';\n";
}

void QAStPerlGen::integer(QTextStream& out, const char* name, int value)
{
    out << '$' << name << '=' << value << ";\n";
}

void QAStPerlGen::generateEnv(QTextStream& out, QAStData* data)
{
    out << "$STUDIO_IDE=1;\n";
    out << "$ECLIPSE_IDE=0;\n";
    out << "$OSNAME='unix';\n";
    out << "$PATH_SEPARATOR='/';\n";
    quoted(out, "ZENTAHOME", QAFileUtil::shortPath(QAStData::installDir()));
    quoted(out, "BINDIR", QAFileUtil::shortPath(QAStData::binaryDir()));
    QString scripts = QAFileUtil::shortPath(QAStData::scriptsDir());
    if (!scripts.endsWith(QDir::separator()))
        scripts += QDir::separator();
    quoted(out, "SCRIPTDIR", scripts);
    quoted(out, "WORKING_DIR", QDir::currentPath());
    StudioInterface* studio = QAStData::studioIFace();
    quoted(out, "CMSTOOL", studio ? studio->cmsTool() : QString());

    if (!data) {
        warning(" cannot generate environment no node");
        return;
    }
    QAStData* project = data->project();
    const QString projectName = project ? project->name() : QString();
    const QString projectPath = project ? project->directory() : QString();
    quoted(out, "PROJECT_NAME", projectName);
    quoted(out, "PROJECT_PATH", projectPath);
    quoted(out, "WORKSPACE_NAME", projectName);
    quoted(out, "WORKSPACE_PATH", projectPath);
    quoted(out, "USERNAME", QAStData::userName());
    if (project)
        quoted(out, "ZENTA_TPM_ROOT", projectPath);
    integer(out, "STUDIO_PORT", QAStData::port());
}
