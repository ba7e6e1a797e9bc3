// A host program built against the installed library: it must find the
// headers and the package, link, and run a library call.
#include <qastdata.h>
#include <qaprocess.h>
#include <qapropertystore.h>

#include <cstdio>

int main()
{
    QStringList args;
    QAProcess::commandLineToArgs(QStringLiteral("perl -e \"print 1\" &"), args);
    const QString encoded = QAStData::stringToXMLValue(QStringLiteral("a,b"));
    QAPropertyStore store;
    store.setProperty(QStringLiteral("cflags"), QStringLiteral("-O2"));
    std::printf("%d %s %s\n", int(args.size()), qPrintable(encoded),
                qPrintable(store.property(QStringLiteral("cflags")).toString()));
    return args.size() == 4 && encoded == QLatin1String("a#comma#b")
                   && store.hasProperty(QStringLiteral("cflags"))
               ? 0
               : 1;
}
