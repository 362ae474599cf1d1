#include "view_looks.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>

#include "color_library.h"
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

/// The configuration that $OCIO names; null when it names none, or one that cannot be used.
const ColorConfig* userConfig() {
  static const std::unique_ptr<ColorConfig> config = []() -> std::unique_ptr<ColorConfig> {
    const char* value = std::getenv("OCIO");
    const std::string file = value ? value : "";
    if (file.empty()) return nullptr;
    try {
      return colorLibrary().load(file);
    } catch (const std::exception& error) {
      printLine(
          String("The colour configuration \"" + file + "\" is not used: " + error.what() +
                 ". The built-in views remain; correct the file, or take it out of the variable OCIO."));
      return nullptr;
    }
  }();
  return config.get();
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

ViewLookPtr makeLook(const std::string& view) {
  if (const OwnView* own = findOwn(view))
    return own->function ? make(own->kind, own->function) : make(*colorLibrary().acesSdr());
  if (const ColorConfig* config = userConfig()) return make(*config->processor(view));
  throw ColorError("there is no such view");
}

ViewLookPtr makeOrTell(const std::string& view) {
  try {
    return makeLook(view);
  } catch (const std::exception& error) {
    printLine(String("The view \"" + view + "\" is not used: " + error.what() +
                     ". The picture is shown in sRGB; choose another view."));
    return nullptr;
  }
}

} // namespace

std::vector<std::string> viewNames() {
  std::vector<std::string> names;
  for (const OwnView& view : ownViews)
    names.emplace_back(view.name);
  if (const ColorConfig* config = userConfig())
    for (std::string& name : config->views())
      names.push_back(std::move(name));
  return names;
}

bool isView(const std::string& name) {
  if (findOwn(name)) return true;
  const std::vector<std::string> names = viewNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

ViewLookPtr lookOf(const std::string& view) {
  static std::mutex guard;
  static std::map<std::string, ViewLookPtr> looks;
  const std::lock_guard lock(guard);
  const auto found = looks.find(view);
  if (found != looks.end()) return found->second;
  return looks[view] = makeOrTell(view);
}

} // namespace host
