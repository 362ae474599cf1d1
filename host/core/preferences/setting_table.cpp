#include "setting_table.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace host {
namespace {

constexpr std::array table{
    SettingName{10001, "enabled", DA_LONG},
    SettingName{10002, "mode", DA_LONG},
    SettingName{10004, "aspect", DA_REAL},
    SettingName{10006, "region.shown", DA_LONG},
    SettingName{14001, "anim.file", DA_FILENAME},
    SettingName{14004, "anim.from", DA_LONG},
    SettingName{14005, "anim.to", DA_LONG},
    SettingName{14006, "anim.step", DA_LONG},
    SettingName{14007, "anim.format", DA_LONG},
    SettingName{14008, "anim.remember", DA_LONG},
    SettingName{14009, "anim.launch", DA_LONG},
    SettingName{14010, "anim.movie-options", DA_CONTAINER},
    SettingName{14011, "anim.jpeg-quality", DA_LONG},
    SettingName{14012, "anim.photoshop7", DA_LONG},
    SettingName{14013, "anim.stamp", DA_LONG},
    SettingName{15004, "opt.anti-aliasing", DA_LONG},
    SettingName{15006, "opt.filter", DA_LONG},
    SettingName{15008, "opt.transparency", DA_LONG},
    SettingName{15010, "opt.reflection", DA_LONG},
    SettingName{15012, "opt.shadows", DA_LONG},
    SettingName{15014, "opt.gi", DA_LONG},
    SettingName{15015, "opt.ao", DA_LONG},
    SettingName{15016, "opt.caustics", DA_LONG},
    SettingName{15017, "opt.post-effects", DA_LONG},
    SettingName{15019, "opt.subdivision", DA_LONG},
    SettingName{15020, "opt.displacement", DA_LONG},
    SettingName{15021, "opt.blurriness", DA_LONG},
    SettingName{15022, "opt.volumetric-light", DA_LONG},
    SettingName{15023, "opt.textures", DA_LONG},
    SettingName{15024, "opt.subsurface", DA_LONG},
    SettingName{15026, "mat.color", DA_LONG},
    SettingName{15027, "mat.diffusion", DA_LONG},
    SettingName{15028, "mat.luminance", DA_LONG},
    SettingName{15029, "mat.transparency", DA_LONG},
    SettingName{15030, "mat.reflection", DA_LONG},
    SettingName{15031, "mat.environment", DA_LONG},
    SettingName{15032, "mat.fog", DA_LONG},
    SettingName{15033, "mat.bump", DA_LONG},
    SettingName{15034, "mat.normal", DA_LONG},
    SettingName{15035, "mat.alpha", DA_LONG},
    SettingName{15036, "mat.specular", DA_LONG},
    SettingName{15037, "mat.specular-color", DA_LONG},
    SettingName{15038, "mat.glow", DA_LONG},
    SettingName{15039, "mat.displacement", DA_LONG},
    SettingName{15040, "opt.res-divisor", DA_LONG},
    SettingName{15041, "opt.spare", DA_LONG},
    SettingName{15042, "opt.hair", DA_LONG},
    SettingName{15043, "opt.lod", DA_REAL},
    SettingName{15045, "stereo.separation", DA_REAL},
    SettingName{15046, "opt.shaders", DA_LONG},
    SettingName{15048, "stereo", DA_LONG},
    SettingName{15050, "stereo.grey", DA_LONG},
    SettingName{15052, "stereo.grey-source", DA_LONG},
    SettingName{15053, "stereo.tag-off", DA_LONG},
    SettingName{15055, "stereo.scale", DA_REAL},
    SettingName{15057, "opt.engine", DA_LONG},
    SettingName{15058, "opt.all-objects", DA_LONG},
    SettingName{15059, "opt.add-on-preview", DA_LONG},
    SettingName{15060, "stereo.named-cameras", DA_LONG},
    SettingName{20004, "auto.refresh", DA_LONG},
    SettingName{20005, "refresh.delay", DA_LONG},
    SettingName{20006, "opt.spare-1", DA_LONG},
    SettingName{20007, "lock", DA_LONG},
    SettingName{20011, "stamp.render-time", DA_LONG},
    SettingName{20012, "stamp.render-time-h", DA_LONG},
    SettingName{20013, "stamp.render-time-v", DA_LONG},
    SettingName{20014, "stamp.date", DA_LONG},
    SettingName{20015, "stamp.date-h", DA_LONG},
    SettingName{20016, "stamp.date-v", DA_LONG},
    SettingName{20017, "stamp.custom1", DA_LONG},
    SettingName{20018, "stamp.text1", DA_STRING},
    SettingName{20019, "stamp.custom1-h", DA_LONG},
    SettingName{20020, "stamp.custom1-v", DA_LONG},
    SettingName{20021, "stamp.image", DA_LONG},
    SettingName{20022, "stamp.image-file", DA_STRING},
    SettingName{20024, "stamp.image-h", DA_LONG},
    SettingName{20025, "stamp.image-v", DA_LONG},
    SettingName{20027, "view.size", DA_LONG},
    SettingName{20028, "min.width", DA_LONG},
    SettingName{20029, "min.height", DA_LONG},
    SettingName{20030, "opt.spare-2", DA_LONG},
    SettingName{20033, "history.size", DA_LONG},
    SettingName{20035, "history.add", DA_LONG},
    SettingName{20037, "compare.style", DA_LONG},
    SettingName{20038, "compare.center", DA_LONG},
    SettingName{20039, "compare.scale", DA_LONG},
    SettingName{20040, "zoom.step", DA_REAL},
    SettingName{20041, "stamp.custom2", DA_LONG},
    SettingName{20042, "stamp.text2", DA_STRING},
    SettingName{20043, "stamp.custom2-h", DA_LONG},
    SettingName{20044, "stamp.custom2-v", DA_LONG},
    SettingName{20045, "stamp.document", DA_LONG},
    SettingName{20046, "stamp.document-h", DA_LONG},
    SettingName{20047, "stamp.document-v", DA_LONG},
    SettingName{20049, "clear.bitmap", DA_LONG},
    SettingName{20050, "error.dialogs", DA_LONG},
    SettingName{20051, "error.banner", DA_LONG},
    SettingName{20052, "history.autoload", DA_LONG},
    SettingName{20053, "clone.animation", DA_LONG},
    SettingName{20054, "progress.strip", DA_LONG},
    SettingName{20055, "progress.bar", DA_LONG},
    SettingName{20057, "anaglyph.left", DA_VECTOR},
    SettingName{20058, "anaglyph.right", DA_VECTOR},
    SettingName{20059, "opt.spare-3", DA_LONG},
    SettingName{20060, "stamp.camera", DA_LONG},
    SettingName{20061, "stamp.camera-h", DA_LONG},
    SettingName{20062, "stamp.camera-v", DA_LONG},
    SettingName{20063, "opt.spare-4", DA_LONG},
    SettingName{20064, "shift.disables", DA_LONG},
    SettingName{20065, "refresh.wait", DA_LONG},
    SettingName{20066, "stamp.timecode", DA_LONG},
    SettingName{20067, "stamp.timecode-h", DA_LONG},
    SettingName{20068, "stamp.timecode-v", DA_LONG},
    SettingName{20071, "stereo.left-camera", DA_STRING},
    SettingName{20072, "stereo.right-camera", DA_STRING},
};

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

} // namespace

std::span<const SettingName> settingTable() noexcept {
  return table;
}

const SettingName* findSettingName(LONG key) noexcept {
  const auto* found =
      std::find_if(table.begin(), table.end(), [&](const SettingName& s) { return s.key == key; });
  return found == table.end() ? nullptr : found;
}

const SettingName* findSettingName(std::string_view name) {
  LONG key = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), key);
  if (!name.empty() && error == std::errc() && end == name.data() + name.size()) return findSettingName(key);
  const std::string wanted = lower(name);
  const auto* found =
      std::find_if(table.begin(), table.end(), [&](const SettingName& s) { return wanted == s.name; });
  return found == table.end() ? nullptr : found;
}

} // namespace host
