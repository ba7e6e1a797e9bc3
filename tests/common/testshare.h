#pragma once

#include <QtGlobal>

/// A long data-driven test may be built twice from one file, each program
/// taking every other row, so that both stay short on a busy machine. Built
/// with SDK_TEST_SHARE 0 or 1, a program keeps the rows of that share; built
/// without, all of them. A new row always lands in one of the two.
inline bool inThisShare(qsizetype row)
{
#ifdef SDK_TEST_SHARE
    return row % 2 == SDK_TEST_SHARE;
#else
    Q_UNUSED(row);
    return true;
#endif
}
