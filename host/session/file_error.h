// Errors about files that the user sees.
#pragma once

#include <string>

namespace host {

/// A user's error about a file: the failure, its reason, and advice.
struct FileError {
  std::string sentence, reason, advice;
  std::string details; // folded at first; may be empty
  /// Sentence, reason and advice in one text.
  std::string text() const;
};

} // namespace host
