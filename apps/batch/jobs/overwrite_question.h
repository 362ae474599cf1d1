// The question whether an animation may replace an existing file.
#pragma once

#include <string>

#include "messages.h"

namespace batch {

/// Answers the render thread's question about this file: yes with --overwrite, else as the user answers on a
/// terminal, else no. Other questions get the answer of any batch run. Main thread.
class OverwriteQuestion : public BatchInterface {
 public:
  OverwriteQuestion(Messages& messages, std::string file, bool overwrite)
      : BatchInterface(messages), messages_(messages), file_(std::move(file)), overwrite_(overwrite) {}
  bool question(const String& text) override;

  /// Whether the answer was no.
  bool declined() const { return declined_; }

 private:
  Messages& messages_;
  std::string file_;
  bool overwrite_, declined_ = false;
};

} // namespace batch
