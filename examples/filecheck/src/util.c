#include "util.h"

int clamp(int value, int low, int high)
{
    return value < low ? low : value > high ? high : value;
}
