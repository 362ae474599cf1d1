// Presets of the viewer's optimizations: values of several settings under one name. Any thread.
#pragma once

#include <span>
#include <string_view>

#include "c4d_container.h"

namespace host {

/// "draft", "look", "final": from fast to complete.
std::span<const std::string_view> settingPresetNames() noexcept;

/// The values of a preset under the settings' numbers. All presets set the same settings. Empty for an
/// unknown name.
BaseContainer settingPreset(std::string_view name);

/// The values that the settings of presets have when nothing is stored; a test compares them with the
/// viewer's own.
BaseContainer settingPresetDefaults();

} // namespace host
