// A host program built against the installed library: it must find the
// headers and the package, link, and run a library call.
#include <qastdata.h>
#include <qaprocess.h>

#include <cstdio>

int main()
{
    QStringList args;
    QAProcess::commandLineToArgs(QStringLiteral("perl -e \"print 1\" &"), args);
    const QString encoded = QAStData::stringToXMLValue(QStringLiteral("a,b"));
    std::printf("%d %s\n", int(args.size()), qPrintable(encoded));
    return args.size() == 4 && encoded == QLatin1String("a#comma#b") ? 0 : 1;
}
