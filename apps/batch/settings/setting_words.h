// What the dialogs say about settings: their labels, and what may be entered. Main thread.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lm_keys.h"
#include "plugin_registry.h"

namespace batch {

/// The values that the dialogs accept.
struct SettingRange {
  std::string text; // "0..5000", "1..20 %", "0 Left, 1 Centre, 2 Right"; empty: anything
  std::optional<std::pair<Real, Real>> bounds; // of the stored value, both included
  std::vector<LONG> choices;                   // where there are some, no other number
};

struct SettingWords {
  std::string label; // of its gadget
  SettingRange range;
};

/// By key, every setting. Labels and choices of the described dialogs come from the
/// plug-in's resource files; throws `Stop` (render failed) when these do not read.
std::map<LONG, SettingWords> settingWords(const host::PluginUnit& plugin);

/// Throws `Stop` (wrong use), naming what may be entered, when the value lies outside the range
/// and is not the default.
void checkRange(const lmKey& key, const GeData& value, const SettingRange& range);

} // namespace batch
