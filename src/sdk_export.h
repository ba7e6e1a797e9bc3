#pragma once

#if defined(SDK_BUILDING_LIBRARY)
#  define SDK_EXPORT __attribute__((visibility("default")))
#else
#  define SDK_EXPORT
#endif
