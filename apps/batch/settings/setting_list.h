// `lumenara settings list`: every setting with its value, as text or JSON. Main thread.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "command_line.h"
#include "lm_keys.h"
#include "plugin_registry.h"

namespace batch {

/// A number, a text, [r, g, b]; a container's number of entries; null without a value.
nlohmann::json settingJson(const GeData& value);

/// Where a value comes from: the file of site defaults that has the same one, else "plug-in" when it is the
/// plug-in's default, else "home". Programs store all values, so a stored value alone says nothing.
std::string settingOrigin(const lmKey& key, const GeData& value, const GeData* site,
                          const std::string& siteFile);

/// Prints one line per setting: number, name, type and value, then, after tabs, default, range, label, and
/// with `origin` its origin. With `json`, an array of objects.
void listSettings(const BaseContainer& values, const host::PluginUnit& plugin, const Filename& startupPath,
                  const SettingsOptions& options);

} // namespace batch
