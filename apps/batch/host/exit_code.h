// Exit codes, and the exception that ends a command.
#pragma once

#include <stdexcept>
#include <string>

namespace batch {

enum class ExitCode {
  done = 0,
  tooDifferent = 1,      // the pictures differ by more than the limit
  wrongUse = 2,          // invalid options, keys, values, names
  sceneUnreadable = 3,   // or a picture
  outputNotWritable = 4, // picture, movie, statistics, settings
  renderFailed = 5,      // or an asset is missing; the picture is saved anyway
  sizesDiffer = 6,       // `compare --metric`: pictures of different sizes
  noPartner = 7,         // likewise: a picture in one folder only
  notFinite = 8,         // likewise: a picture with NaN or infinities
  cancelled = 130        // by Ctrl-C
};

/// Ends the command. The sentence says what, where and what to do; it is the whole error message.
class Stop : public std::runtime_error {
 public:
  Stop(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

} // namespace batch
