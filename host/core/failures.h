// The host's record of failures that its callers do not look at, such as a frame that was not written, or one
// of a range that was not rendered to its end.
// Programs read it and tell the user. Any thread.
#pragma once

#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

struct Failure {
  Filename file;        // that was not written, or whose document was not rendered
  std::string sentence; // what happened, where, and what to do
  LONG frame = -1;      // of the document, when a render failed; -1: a write
};

/// Adds one, and prints it on the console if that is wanted. The record keeps the first 1000 and counts on.
void recordFailure(const Filename& file, std::string sentence, LONG frame = -1);
/// Those since the last `takeFailures`, in order.
std::vector<Failure> failures();
std::size_t failureCount();
/// Gives them and empties the record.
std::vector<Failure> takeFailures();

/// Whether every failure is a line on the console too: its sentence. Off at first; a program switches it on,
/// unless it reads the record and tells the user itself.
void printFailures(bool print);

} // namespace host
