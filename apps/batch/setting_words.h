// What the dialogs say about settings: their labels, and what may be entered. Main thread.
#pragma once

#include <map>
#include <string>

#include "c4d_types.h"
#include "plugin_registry.h"

namespace batch {

struct SettingWords {
  std::string label; // of its gadget
  std::string range; // "0..5000", "1..20 %", "0 Left, 1 Centre, 2 Right"; empty: anything of its kind
};

/// By key, every setting. Labels and choices of the described dialogs come from the
/// plug-in's resource files; throws `Stop` (render failed) when these do not read.
std::map<LONG, SettingWords> settingWords(const host::PluginUnit& plugin);

} // namespace batch
