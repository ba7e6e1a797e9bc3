#ifndef UTIL_H
#define UTIL_H

int clamp(int value, int low, int high);

#endif
