// A running Lumenara Studio that a command asks.
#pragma once

#include <memory>

#include "link_client.h"
#include "link_options.h"

namespace batch {

class RunningStudio {
 public:
  /// Connects to the one that the options choose, and says which one when several run. Throws `Stop` (render
  /// failed) when none runs, none has this number, or it does not answer.
  explicit RunningStudio(const StudioOptions& options);

  /// The answer. Throws `Stop` (render failed, or cancelled by Ctrl-C).
  host::LinkFrame ask(host::Json message);

 private:
  host::Milliseconds wait_;
  std::unique_ptr<host::LinkClient> client_;
};

} // namespace batch
