#pragma once

#include "qastdata.h"

/// The word that a host prints for a node's execution status.
inline const char* executionStatusName(int status)
{
    switch (status) {
    case QAStData::ExecutionSuccess: return "success";
    case QAStData::ExecutionFailed: return "failed";
    case QAStData::ExecutionStopped: return "stopped";
    case QAStData::ExecutionRunning:
    case QAStData::ExecutionRunningOther: return "running";
    case QAStData::ExecutionNone: return "none";
    case QAStData::ExecutionTestFailed: return "test verdict failed";
    }
    return "unknown";
}
