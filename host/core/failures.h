// The host's record of failures that its callers do not look at, such as a frame that was not written.
// Programs read it and tell the user. Any thread.
#pragma once

#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

struct Failure {
  Filename file;
  std::string sentence; // what happened, where, and what to do
};

/// Adds one, and prints it on the console if that is wanted. The record keeps the first 1000 and counts on.
void recordFailure(const Filename& file, std::string sentence);
/// Those since the last `takeFailures`, in order.
std::vector<Failure> failures();
std::size_t failureCount();
/// Gives them and empties the record.
std::vector<Failure> takeFailures();

/// Whether every failure is a line on the console too: its sentence. Off at first; a program switches it on,
/// unless it reads the record and tells the user itself.
void printFailures(bool print);

} // namespace host
