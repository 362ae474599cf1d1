#include "view_setting.h"

#include "file_path.h"

namespace host::render {
namespace {

std::string configFile(const std::string& name, const BaseDocument* document) {
  const std::filesystem::path file = name;
  if (name.empty() || file.is_absolute() || !document) return name;
  return (toPath(document->GetDocumentPath()) / file).lexically_normal().string();
}

} // namespace

ViewSettings readView(const BaseContainer& container, const BaseDocument* document) {
  const ViewSettings plain;
  ViewSettings settings;
  settings.view = container.GetString(viewSetting, String(plain.view)).GetUTF8();
  settings.exposure = container.GetReal(exposureSetting, plain.exposure);
  settings.gamma = container.GetReal(gammaSetting, plain.gamma);
  settings.kelvin = container.GetReal(whiteBalanceSetting, plain.kelvin);
  settings.config = configFile(container.GetString(colorConfigSetting).GetUTF8(), document);
  return withinRange(std::move(settings));
}

} // namespace host::render
