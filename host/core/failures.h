// The record of failures that callers do not check: a frame that was not written, or not rendered to its end.
// Programs read it and tell the user. Any thread.
#pragma once

#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

struct Failure {
  Filename file;        // the file that was not written, or the document that was not rendered
  std::string sentence; // for the user: what happened, where, what to do
  LONG frame = -1;      // the document's frame when a render failed; -1: a write failed
};

/// Adds a failure, and prints it when `printFailures` is on. The record keeps the first 1000 and counts all.
void recordFailure(const Filename& file, std::string sentence, LONG frame = -1);
/// The failures since the last `takeFailures`, in order.
std::vector<Failure> failures();
std::size_t failureCount();
/// Returns them and empties the record.
std::vector<Failure> takeFailures();

/// Whether the sentence of every failure is also printed on the console. Off at first; a program that does
/// not read the record switches it on.
void printFailures(bool print);

} // namespace host
