#include "qailogmonitor.h"

QAILogMonitor::~QAILogMonitor() = default;
