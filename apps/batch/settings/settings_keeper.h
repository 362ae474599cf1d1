// Settings stored by other programs during a render.
#pragma once

#include "c4d_container.h"
#include "c4d_filename.h"

namespace batch {

/// When the plug-in's dialogs end, they write all their settings back, over changes that other programs have
/// stored since. The keeper restores those changes. Main thread.
class SettingsKeeper {
 public:
  /// Remembers the stored settings, after the plug-in has started.
  explicit SettingsKeeper(const Filename& preferences);
  /// Finds the changes since then, before the plug-in ends.
  void collect();
  /// Stores these changes again, after the plug-in has ended.
  void putBack();

 private:
  BaseContainer stored() const;

  Filename preferences_;
  BaseContainer before_, changes_;
};

} // namespace batch
