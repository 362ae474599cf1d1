// Labels and ranges of settings, as the dialogs have them. Main thread.
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
  std::optional<std::pair<Real, Real>> bounds; // of the stored value, inclusive
  std::vector<LONG> choices;                   // when not empty, the only valid values
};

struct SettingWords {
  std::string label; // of its gadget
  SettingRange range;
};

/// Every setting, by key. Labels and choices of described dialogs come from the plug-in's
/// resource files; throws `Stop` (render failed) when these are unreadable.
std::map<LONG, SettingWords> settingWords(const host::PluginUnit& plugin);

/// Throws `Stop` (wrong use) and names the allowed values when the value is outside the range and
/// not the default.
void checkRange(const lmKey& key, const GeData& value, const SettingRange& range);

} // namespace batch
