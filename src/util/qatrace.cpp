#include "qatrace.h"

#include <QByteArray>
#include <QLoggingCategory>

#include <cstdarg>
#include <cstdio>

namespace {
Q_LOGGING_CATEGORY(lcSdkTrace, "sdk.trace", QtInfoMsg)
}

void warning(const char* format, ...)
{
    if (!lcSdkTrace().isDebugEnabled() || !format)
        return;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    QByteArray text;
    if (length > 0) {
        text.resize(length + 1);
        std::vsnprintf(text.data(), size_t(length) + 1, format, args);
        text.resize(length);
    }
    va_end(args);
    while (text.endsWith('\n'))
        text.chop(1);
    qCDebug(lcSdkTrace, "%s", text.constData());
}
