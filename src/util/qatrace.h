#pragma once

#include "sdk_export.h"

/// The developers' printf-like diagnostic trace. Every line goes through the
/// "sdk.trace" logging category at debug level, which is off unless enabled,
/// for example with QT_LOGGING_RULES="sdk.trace.debug=true".
SDK_EXPORT void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
