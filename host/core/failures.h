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

/// Adds one. The record keeps the first 1000 and counts on.
void recordFailure(const Filename& file, std::string sentence);
/// Those since the last `takeFailures`, in order.
std::vector<Failure> failures();
std::size_t failureCount();
/// Gives them and empties the record.
std::vector<Failure> takeFailures();

} // namespace host
