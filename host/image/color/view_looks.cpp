#include "view_looks.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <utility>

#include "color_configs.h"
#include "console.h"
#include "view_curves.h"
#include "view_settings.h"

namespace host {
namespace {

/// toned: light to light, then sRGB.
enum class LookKind : std::uint8_t { direct, toned, curve, cube };

struct OwnView {
  const char* name;
  LookKind kind;
  void (*function)(float* rgb, std::size_t pixels); // null: by the colour library
};
constexpr OwnView ownViews[] = {
    {plainView, LookKind::curve, showSrgb},
    {"Rec.709", LookKind::curve, showRec709},
    {"ACES SDR", LookKind::cube, nullptr},
    {"Filmic", LookKind::curve, showFilmic},
    {"Neutral", LookKind::toned, toneNeutral},
    {"Raw", LookKind::curve, showRaw},
    {"False Colour", LookKind::direct, showFalseColor},
};

const OwnView* findOwn(const std::string& name) {
  const auto found = std::find_if(std::begin(ownViews), std::end(ownViews),
                                  [&](const OwnView& v) { return name == v.name; });
  return found == std::end(ownViews) ? nullptr : found;
}

ViewLookPtr make(LookKind kind, const ViewFunction& function) {
  if (kind == LookKind::direct) return directLook(function);
  if (kind == LookKind::toned) return tonedLook(function, curveLook(showSrgb));
  return kind == LookKind::curve ? curveLook(function) : cubeLook(function);
}

ViewLookPtr make(const ColorProcessor& processor) {
  const auto function = [&processor](float* rgb, std::size_t pixels) { processor.apply(rgb, pixels); };
  return make(processor.mixesChannels() ? LookKind::cube : LookKind::curve, function);
}

ViewLookPtr makeLook(const std::string& view, const std::string& configFile) {
  if (const OwnView* own = findOwn(view))
    return own->function ? make(own->kind, own->function) : make(*colorLibrary().acesSdr());
  if (const ColorConfig* config = colorConfigOf(configFile)) return make(*config->processor(view));
  throw ColorError("there is no such view");
}

ViewLookPtr makeOrTell(const std::string& view, const std::string& config) {
  try {
    return makeLook(view, config);
  } catch (const std::exception& error) {
    printLine(String("The view \"" + view + "\" is not used: " + error.what() +
                     ". The picture is shown in sRGB; choose another view."));
    return nullptr;
  }
}

} // namespace

std::vector<std::string> viewNames(const std::string& configFile) {
  std::vector<std::string> names;
  for (const OwnView& view : ownViews)
    names.emplace_back(view.name);
  if (const ColorConfig* config = colorConfigOf(configFile))
    for (std::string& name : config->views())
      names.push_back(std::move(name));
  return names;
}

bool isView(const std::string& name, const std::string& config) {
  if (findOwn(name)) return true;
  const std::vector<std::string> names = viewNames(config);
  return std::find(names.begin(), names.end(), name) != names.end();
}

ViewLookPtr lookOf(const std::string& view, const std::string& config) {
  static std::mutex guard;
  static std::map<std::pair<std::string, std::string>, ViewLookPtr> looks;
  const std::pair key(view, findOwn(view) ? std::string() : config);
  const std::lock_guard lock(guard);
  const auto found = looks.find(key);
  if (found != looks.end()) return found->second;
  return looks[key] = makeOrTell(view, config);
}

} // namespace host
