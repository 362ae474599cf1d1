#include "setting_presets.h"

#include <algorithm>
#include <array>

#include "setting_table.h"

namespace host {

namespace {

constexpr std::array<std::string_view, 3> names{"draft", "look", "final"};

struct Row {
  const char* setting;
  Real usual;
  std::array<Real, names.size()> values;
};

// Draft answers where things are and how light falls, look how surfaces look, final is complete.
constexpr Row rows[] = {
    {"opt.res-divisor", 1, {2, 1, 1}},
    {"opt.lod", 1, {0.5, 1, 1}},
    {"opt.anti-aliasing", 0, {0, 1, 2}},
    {"opt.transparency", 2, {1, 2, 2}},
    {"opt.reflection", 2, {1, 2, 2}},
    {"opt.shadows", 2, {2, 2, 2}},
    {"opt.gi", 1, {0, 1, 1}},
    {"opt.ao", 1, {0, 1, 1}},
    {"opt.caustics", 1, {0, 0, 1}},
    {"opt.post-effects", 1, {0, 1, 1}},
    {"opt.subdivision", 1, {0, 1, 1}},
    {"opt.displacement", 1, {0, 1, 1}},
    {"opt.blurriness", 1, {0, 1, 1}},
    {"opt.volumetric-light", 1, {0, 1, 1}},
    {"opt.textures", 1, {1, 1, 1}},
    {"opt.subsurface", 1, {0, 1, 1}},
};

template <class ValueOf>
BaseContainer containerOf(const ValueOf& valueOf) {
  BaseContainer values;
  for (const Row& row : rows) {
    const SettingName* setting = findSettingName(row.setting);
    if (!setting) continue;
    if (setting->type == DA_REAL)
      values.SetReal(setting->key, valueOf(row));
    else
      values.SetLong(setting->key, static_cast<LONG>(valueOf(row)));
  }
  return values;
}

} // namespace

std::span<const std::string_view> settingPresetNames() noexcept {
  return names;
}

BaseContainer settingPreset(std::string_view name) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return {};
  const auto index = static_cast<std::size_t>(found - names.begin());
  return containerOf([index](const Row& row) { return row.values[index]; });
}

BaseContainer settingPresetDefaults() {
  return containerOf([](const Row& row) { return row.usual; });
}

} // namespace host
