#pragma once

class BatchSession;
class QAStNode;
class QTextStream;

/// Where the run-time analyses of a run left what they wrote: for each test
/// node of the run's subtree, its split file and the coverage and trace
/// files the stream was split into, one line each, those that exist.
namespace BatchOutputs {
void report(const BatchSession& session, QAStNode* top, QTextStream& out);
}
