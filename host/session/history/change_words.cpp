#include "change_words.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "c4d_render.h"
#include "parameters.h"
#include "render_settings.h"
#include "view_setting.h"

namespace host {

namespace {

std::string lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

std::string vectorWords(const Vector& v, int decimals) {
  return "(" + numberWords(v.x, decimals) + ", " + numberWords(v.y, decimals) + ", " +
         numberWords(v.z, decimals) + ")";
}

std::string quoted(const std::string& text) {
  return text.empty() ? "none" : "\"" + text + "\"";
}

std::string choiceWords(const std::vector<std::string>& choices, LONG value) {
  const bool known = value >= 0 && static_cast<std::size_t>(value) < choices.size();
  return known ? choices[static_cast<std::size_t>(value)] : std::to_string(value);
}

std::string withUnit(const std::string& number, const std::string& unit) {
  const bool apart = !unit.empty() && unit != "\u00b0" && unit != "%";
  return number + (apart ? " " : "") + unit;
}

std::string valueWords(const Attribute& shape, const GeData& value) {
  switch (shape.kind) {
  case AttributeKind::boolean:
    return value.GetBool() ? "on" : "off";
  case AttributeKind::integer:
    return std::to_string(value.GetLong());
  case AttributeKind::real:
    return withUnit(numberWords(value.GetReal(), shape.decimals), shape.unit);
  case AttributeKind::vector:
    return withUnit(vectorWords(value.GetVector(), shape.decimals), shape.unit);
  case AttributeKind::color:
    return vectorWords(value.GetVector(), shape.decimals);
  case AttributeKind::choice:
    return choiceWords(shape.choices, value.GetLong());
  case AttributeKind::text:
    return quoted(value.GetString().GetUTF8());
  case AttributeKind::file:
    return quoted(value.GetFilename().GetFileString().GetUTF8());
  }
  return {};
}

struct Setting {
  LONG id;
  const char* label;
  enum class Kind : std::uint8_t { number, flag, choice, text } kind = Kind::number;
  std::vector<std::string> choices = {};
};

const std::vector<Setting>& settings() {
  using Kind = Setting::Kind;
  static const auto& list = *new std::vector<Setting>{
      {RDATA_XRES, "width"},
      {RDATA_YRES, "height"},
      {RDATA_MAXSAMPLES, "samples"},
      {RDATA_NOISETHRESHOLD, "noise threshold"},
      {render::secondsSetting, "time limit"},
      {render::denoiseSetting, "denoise", Kind::choice, {"off", "at the end", "live"}},
      {RDATA_ANTIALIASING, "anti-aliasing", Kind::choice, {"none", "geometry", "best"}},
      {RDATA_AAFILTER, "filter"},
      {RDATA_LOD, "level of detail"},
      {RDATA_RENDERREGION, "region", Kind::flag},
      {RDATA_ACTIVEOBJECTONLY, "active objects only", Kind::flag},
      {RDATA_TEXTURES, "textures", Kind::flag},
      {RDATA_ENABLEBLURRY, "blurriness", Kind::flag},
      {RDATA_OPTION_REFLECTION, "reflection", Kind::flag},
      {RDATA_OPTION_LIMITREFLECTION, "reflection limit", Kind::flag},
      {RDATA_OPTION_TRANSPARENCY, "transparency", Kind::flag},
      {RDATA_OPTION_REFRACTION, "refraction", Kind::flag},
      {RDATA_OPTION_SHADOW, "shadows", Kind::flag},
      {RDATA_OPTION_LIMITSHADOW, "shadow limit", Kind::flag},
      {RDATA_POSTEFFECTS_ENABLE, "effects", Kind::flag},
      {RDATA_SUBPOLYGON_DISPLACEMENT, "displacement", Kind::flag},
      {render::layersSetting, "layers"},
      {render::seedSetting, "seed"},
      {render::motionBlurSetting, "motion blur", Kind::flag},
      {render::radianceCacheSetting, "radiance cache", Kind::flag},
      {render::shutterOpenSetting, "shutter open"},
      {render::shutterCloseSetting, "shutter close"},
      {render::motionStepsSetting, "motion steps"},
      {render::viewSetting, "view", Kind::text},
      {render::exposureSetting, "exposure"},
      {render::gammaSetting, "gamma"},
      {render::whiteBalanceSetting, "white balance"},
  };
  return list;
}

std::string settingWords(const NodeState& data, const Setting& setting) {
  const GeData value = param::value(data, setting.id);
  switch (setting.kind) {
  case Setting::Kind::flag:
    return value.GetBool() ? "on" : "off";
  case Setting::Kind::choice:
    return choiceWords(setting.choices, value.GetLong());
  case Setting::Kind::text:
    return value.GetType() == DA_STRING ? value.GetString().GetUTF8() : plainView;
  case Setting::Kind::number:
    break;
  }
  return numberWords(value.GetReal(), 6);
}

} // namespace

std::string numberWords(Real value, int decimals) {
  char text[400]; // the largest double has 309 digits
  std::snprintf(text, sizeof text, "%.*f", std::clamp(decimals, 0, 9), value);
  std::string words(text);
  if (words.find('.') != std::string::npos) {
    words.erase(words.find_last_not_of('0') + 1);
    if (words.back() == '.') words.pop_back();
  }
  return words == "-0" ? "0" : words;
}

std::string changedValue(const AttributeEntry& before, const GeData& valueBefore, const AttributeEntry& after,
                         const GeData& valueAfter) {
  if (valueBefore == valueAfter) return {};
  const std::string a = valueWords(before.shape, valueBefore), b = valueWords(after.shape, valueAfter);
  const std::string label = " " + lower(after.shape.label);
  // Smaller than the digits that a user sees.
  return a == b ? label + " changed slightly" : label + " " + a + " -> " + b;
}

std::vector<std::string> changedRenderSettings(const NodeState& before, const NodeState& after) {
  std::vector<std::string> lines;
  BaseContainer a = before.data, b = after.data;
  for (const Setting& setting : settings()) {
    const std::string first = settingWords(before, setting), second = settingWords(after, setting);
    if (first != second) lines.push_back(std::string(" ") + setting.label + " " + first + " -> " + second);
    a.RemoveData(setting.id);
    b.RemoveData(setting.id);
  }
  if (!(a == b)) lines.emplace_back(" changed in other values");
  return lines;
}

} // namespace host
