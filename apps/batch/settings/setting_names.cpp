#include "setting_names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "exit_code.h"
#include "nearest_word.h"

namespace batch {
namespace {

struct Name {
  LONG key;
  const char* name;
};

// Settings whose LM_ name is a number.
constexpr std::array names{
    Name{15004, "opt.anti-aliasing"},
    Name{15006, "opt.filter"},
    Name{15008, "opt.transparency"},
    Name{15010, "opt.reflection"},
    Name{15012, "opt.shadows"},
    Name{15014, "opt.gi"},
    Name{15015, "opt.ao"},
    Name{15016, "opt.caustics"},
    Name{15017, "opt.post-effects"},
    Name{15019, "opt.subdivision"},
    Name{15020, "opt.displacement"},
    Name{15021, "opt.blurriness"},
    Name{15022, "opt.volumetric-light"},
    Name{15023, "opt.textures"},
    Name{15024, "opt.subsurface"},
    Name{15026, "mat.color"},
    Name{15027, "mat.diffusion"},
    Name{15028, "mat.luminance"},
    Name{15029, "mat.transparency"},
    Name{15030, "mat.reflection"},
    Name{15031, "mat.environment"},
    Name{15032, "mat.fog"},
    Name{15033, "mat.bump"},
    Name{15034, "mat.normal"},
    Name{15035, "mat.alpha"},
    Name{15036, "mat.specular"},
    Name{15037, "mat.specular-color"},
    Name{15038, "mat.glow"},
    Name{15039, "mat.displacement"},
    Name{15041, "opt.spare"},
    Name{15042, "opt.hair"},
    Name{15058, "opt.all-objects"},
    Name{15059, "opt.add-on-preview"},
    Name{20006, "opt.spare-1"},
    Name{20030, "opt.spare-2"},
    Name{20059, "opt.spare-3"},
    Name{20063, "opt.spare-4"},
};

std::string lower(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::optional<LONG> wholeNumber(const std::string& text) {
  LONG value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

} // namespace

std::string readableName(const lmKey& key) {
  const auto named =
      std::find_if(names.begin(), names.end(), [&](const Name& n) { return n.key == key.key; });
  if (named != names.end()) return named->name;
  constexpr std::string_view prefix = "LM_";
  std::string name = lower(key.name);
  if (std::string_view(key.name).starts_with(prefix)) name.erase(0, prefix.size());
  bool first = true;
  for (char& c : name)
    if (c == '_') c = std::exchange(first, false) ? '.' : '-';
  return name;
}

const lmKey& findSetting(const std::string& name) {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  const auto id = wholeNumber(name);
  const std::string typed = lower(name);
  std::vector<std::string> all;
  for (const lmKey* key = keys; key != keys + count; ++key) {
    if (name == key->name || (id && *id == key->key) || typed == readableName(*key)) return *key;
    all.push_back(readableName(*key));
    all.push_back(lower(key->name));
  }
  std::string near = nearestWord(typed, all);
  if (near.starts_with("lm_"))
    for (char& c : near)
      c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  throw Stop(ExitCode::wrongUse, "there is no setting " + name + didYouMean(near) +
                                     "; `lumenara settings list` shows all of them");
}

} // namespace batch
