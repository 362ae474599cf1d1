#include "view_setting.h"

namespace host::render {

ViewSettings readView(const BaseContainer& container) {
  const ViewSettings plain;
  ViewSettings settings;
  settings.view = container.GetString(viewSetting, String(plain.view)).GetUTF8();
  settings.exposure = container.GetReal(exposureSetting, plain.exposure);
  settings.gamma = container.GetReal(gammaSetting, plain.gamma);
  settings.kelvin = container.GetReal(whiteBalanceSetting, plain.kelvin);
  return withinRange(std::move(settings));
}

} // namespace host::render
