// Settings that other programs store while this one renders.
#pragma once

#include "c4d_container.h"
#include "c4d_filename.h"

namespace batch {

/// The plug-in's dialogs write all their settings back when they end, also those that another program has
/// changed since they were read. This puts such changes back. Main thread.
class SettingsKeeper {
 public:
  /// Remembers what is stored now, after the plug-in has started.
  explicit SettingsKeeper(const Filename& preferences);
  /// Looks at what has changed since; before the plug-in ends.
  void collect();
  /// Stores these changes again; after the plug-in has ended.
  void putBack();

 private:
  BaseContainer stored() const;

  Filename preferences_;
  BaseContainer before_, changes_;
};

} // namespace batch
