// The reference metrics tool of the tool chain: it reads C and C++ sources as
// the compiler does and writes, for each one, the metrics file the studio
// reads.

#include "sourcemetrics.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace {

const char help[] =
    "usage: velmont-metrics [-o FILE | -d DIRECTORY] [-q] [COMPILER OPTIONS] SOURCE...\n"
    "\n"
    "Reads each C or C++ SOURCE through libclang, with the compiler options given\n"
    "(-I, -isystem, -D, -U, -include, -std=, -x and any other option of clang), and\n"
    "writes its metrics file: with -o, FILE (one source only); with -d, SOURCE's\n"
    "name followed by \".met\" in DIRECTORY; otherwise that name beside the source.\n"
    "\n"
    "Options:\n"
    "  -o FILE        the metrics file of the one SOURCE\n"
    "  -d DIRECTORY   where the metrics files go\n"
    "  -q             do not print the compiler's errors\n"
    "  --             what follows is a SOURCE, even when it begins with -\n"
    "  -h, --help     this text\n"
    "\n"
    "Items: FILE (attributes Name, Dir), CLASS (C++ classes defined in the source),\n"
    "METHOD, CONSTRUCTOR, DESTRUCTOR (attribute Class: the class, with its\n"
    "namespaces) and FUNCTION; each with Name and Line, the line of its name.\n"
    "Only what the source itself defines is measured, not its headers.\n"
    "\n"
    "Keys of each function and method:\n"
    "  VG           cyclomatic number: 1, plus one for each if, for, while, case,\n"
    "               &&, || and ? written in the function's text. A do-while counts\n"
    "               by its while, an else if by its if; default, else, goto and\n"
    "               catch count nothing. The text is read as the preprocessor\n"
    "               leaves it: a branch of #if that the options turn off counts\n"
    "               nothing, and a macro counts as the words of its call, not of\n"
    "               its expansion (the decisions of a macro's argument count, those\n"
    "               of its body do not). A counter that reads the raw text\n"
    "               differs here: it picks the branches of an #if its own way, not\n"
    "               by the options, sees the functions that only a branch that is\n"
    "               off defines, and may take a macro's call for a function.\n"
    "  Statements   statements of the body, declarations included; a block, an\n"
    "               empty statement and a label are none\n"
    "  NestedLevel  deepest nesting of if, for, while, do, switch and try; an\n"
    "               else if stays at the level of its if\n"
    "  EXTVARUSE    variables used that are not the function's own: those of\n"
    "               the file, of a namespace or static members, each once\n"
    "  FAN_IN       functions of this source that call this one (itself left out)\n"
    "  EXTCOMPCALL  functions called that this source does not define, each once\n"
    "\n"
    "Keys of the file:\n"
    "  Src1         lines that hold program text (directives included)\n"
    "  Src2         lines that hold only comments\n"
    "  N1, N2       Halstead operators and operands, counted over the code the\n"
    "               preprocessor keeps: operators are keywords and punctuation (a\n"
    "               closing bracket goes with its opening one), operands are\n"
    "               names and literals\n"
    "  N1_N2        Halstead length, N1 + N2\n"
    "  Volume       N1_N2 * log2(n1 + n2), n1 and n2 the distinct operators and\n"
    "               operands\n"
    "  Difficulty   n1 / 2 * N2 / n2\n"
    "  Effort       Difficulty * Volume; the studio's testing time is Effort\n"
    "               divided by the Stroud number\n"
    "\n"
    "Exit status: 0 when every source was measured, 1 when one could not be read\n"
    "or written, 2 on a usage error. A source with compiler errors is measured\n"
    "as far as libclang could read it.\n";

int usageError(const QString& message)
{
    QTextStream(stderr) << "velmont-metrics: " << message << " (velmont-metrics --help tells more)\n";
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QString output;
    QString directory;
    bool quiet = false;
    QStringList compiler;
    QStringList sources;
    // Options of clang that take their value as the next argument.
    static const QStringList withValue {"-I", "-D", "-U", "-include", "-isystem", "-iquote", "-x", "-idirafter",
                                        "-imacros", "--sysroot", "-target"};
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("-h") || argument == QLatin1String("--help")) {
            QTextStream(stdout) << help;
            return 0;
        }
        if (argument == QLatin1String("-o") || argument == QLatin1String("-d")) {
            if (++i == arguments.size())
                return usageError(argument + QStringLiteral(" needs a value"));
            (argument == QLatin1String("-o") ? output : directory) = arguments.at(i);
        } else if (argument == QLatin1String("-q")) {
            quiet = true;
        } else if (argument == QLatin1String("--")) {
            sources << arguments.mid(i + 1);
            break;
        } else if (withValue.contains(argument)) {
            if (++i == arguments.size())
                return usageError(argument + QStringLiteral(" needs a value"));
            compiler << argument << arguments.at(i);
        } else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            compiler << argument;
        } else {
            sources << argument;
        }
    }
    if (sources.isEmpty())
        return usageError(QStringLiteral("no source given"));
    if (!output.isEmpty() && (sources.size() > 1 || !directory.isEmpty()))
        return usageError(QStringLiteral("-o takes one source and no -d"));
    if (!directory.isEmpty() && !QDir().mkpath(directory)) {
        QTextStream(stderr) << "velmont-metrics: cannot make the directory " << directory << '\n';
        return 1;
    }

    SourceMetrics metrics(compiler);
    QTextStream err(stderr);
    int status = 0;
    for (const QString& source : std::as_const(sources)) {
        MetricItem file;
        QString error;
        QStringList diagnostics;
        if (!metrics.measure(source, file, &error, quiet ? nullptr : &diagnostics)) {
            err << "velmont-metrics: " << error << '\n';
            status = 1;
            continue;
        }
        for (const QString& diagnostic : std::as_const(diagnostics))
            err << diagnostic << '\n';
        const QFileInfo info(source);
        QString target = output;
        if (target.isEmpty())
            target = (directory.isEmpty() ? info.absolutePath() : directory) + QLatin1Char('/') + info.fileName()
                + QStringLiteral(".met");
        QFile out(target);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)
            || out.write(SourceMetrics::toXml(file, info.absolutePath())) < 0) {
            err << "velmont-metrics: " << target << ": cannot be written: " << out.errorString() << '\n';
            status = 1;
        }
    }
    return status;
}
