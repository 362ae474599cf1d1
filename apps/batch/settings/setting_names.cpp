#include "setting_names.h"

#include <cctype>
#include <charconv>
#include <optional>
#include <vector>

#include "exit_code.h"
#include "nearest_word.h"
#include "setting_table.h"

namespace batch {
namespace {

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
  const host::SettingName* named = host::findSettingName(key.key);
  return named ? named->name : lower(key.name);
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
