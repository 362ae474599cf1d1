#include "run_settings.h"

#include <algorithm>
#include <array>

#include "lm_keys.h"
#include "setting_names.h"
#include "setting_values.h"

namespace batch {
namespace {

constexpr std::array<LONG, 8> stampSwitches{LM_STAMP_RENDER_TIME, LM_STAMP_DATE,    LM_STAMP_CUSTOM1,
                                            LM_STAMP_IMAGE,       LM_STAMP_CUSTOM2, LM_STAMP_DOCUMENT,
                                            LM_STAMP_CAMERA,      LM_STAMP_TIMECODE};

constexpr LONG bestAntiAliasing = 2;

} // namespace

void fillRunSettings(lmSettings& settings,
                     const std::vector<std::pair<std::string, std::string>>& assignments,
                     StampChoice stamps) {
  settings.Init(ID_LUMENARA);
  BaseContainer* values = settings.GetDataInstance();
  WriteDefaults(values, LM_DEFAULT_VIEWER);
  settings.Load();

  values->SetLong(LM_OPT_15004, bestAntiAliasing);
  values->SetLong(LM_OPT_RES_DIVISOR, 1);
  for (const LONG key : stampSwitches) {
    if (stamps == StampChoice::none) values->SetLong(key, 0);
  }
  for (const auto& [name, text] : assignments) {
    const lmKey& key = findSetting(name);
    values->SetData(key.key, parseSetting(key, text));
  }
}

void checkAssignments(const std::vector<std::pair<std::string, std::string>>& assignments) {
  for (const auto& [name, text] : assignments) {
    parseSetting(findSetting(name), text);
  }
}

bool stampsWanted(const lmSettings& settings) {
  return std::any_of(stampSwitches.begin(), stampSwitches.end(),
                     [&](LONG key) { return settings.GetValue(key, static_cast<LONG>(0)) != 0; });
}

} // namespace batch
