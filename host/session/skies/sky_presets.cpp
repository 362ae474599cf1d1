#include "made_sky.h"
#include "studio_panels.h"

namespace host {

namespace {

SkyRecipe daylight(int month, double hour, double turbidity, double latitude = 48) {
  SkyRecipe recipe;
  recipe.time.latitude = latitude;
  recipe.time.month = month;
  recipe.time.hour = hour;
  recipe.turbidity = turbidity;
  return recipe;
}

std::vector<SkyPreset> all() {
  const std::string outdoors = "Daylight", indoors = "Studio";
  std::vector<SkyPreset> presets{
      {outdoors, "Summer noon", daylight(6, 12, 2.5)},    {outdoors, "Summer morning", daylight(6, 8, 3)},
      {outdoors, "Late afternoon", daylight(6, 17.5, 3)}, {outdoors, "Golden hour", daylight(6, 19, 4)},
      {outdoors, "Sunset", daylight(6, 19.9, 4)},         {outdoors, "Hazy noon", daylight(7, 12, 8)},
      {outdoors, "Winter noon", daylight(12, 12, 2.5)},   {outdoors, "Tropical noon", daylight(3, 12, 3, 5)}};
  SkyRecipe overcast;
  overcast.model = SkyModel::overcast;
  presets.push_back({outdoors, "Overcast", overcast});
  for (std::size_t i = 0; i < studios().size(); ++i) {
    SkyRecipe studio;
    studio.model = SkyModel::studio;
    studio.studio = static_cast<int>(i);
    presets.push_back({indoors, studios()[i].name, studio});
  }
  return presets;
}

} // namespace

const std::vector<SkyPreset>& skyPresets() {
  static const std::vector<SkyPreset> presets = all();
  return presets;
}

} // namespace host
