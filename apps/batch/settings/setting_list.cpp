#include "setting_list.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "setting_names.h"
#include "setting_values.h"
#include "setting_words.h"
#include "site_defaults.h"

namespace batch {
namespace {

using Json = nlohmann::ordered_json;

struct Row {
  const lmKey* key;
  GeData value;
  SettingWords words;
  std::string origin;
};

std::vector<Row> settingRows(const BaseContainer& values, const host::PluginUnit& plugin,
                             const host::SiteDefaults& site) {
  const auto words = settingWords(plugin);
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  std::vector<Row> rows;
  for (const lmKey* key = keys; key != keys + count; ++key) {
    const auto said = words.find(key->key);
    const auto file = site.origins.find(key->key);
    const GeData value = values.GetData(key->key);
    rows.push_back({key, value, said == words.end() ? SettingWords() : said->second,
                    settingOrigin(*key, value, site.values.GetDataPointer(key->key),
                                  file == site.origins.end() ? "" : file->second.GetString().GetUTF8())});
  }
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.key->key < b.key->key; });
  return rows;
}

void printRow(const Row& row, bool origin) {
  std::printf("%d %-24s %-9s %s\t%s\t%s\t%s%s%s\n", static_cast<int>(row.key->key), row.key->name,
              kindName(row.key->type).c_str(), settingText(row.value).c_str(),
              settingText(row.key->value).c_str(), row.words.range.text.c_str(), row.words.label.c_str(),
              origin ? "\t" : "", origin ? row.origin.c_str() : "");
}

Json rowJson(const Row& row, bool origin) {
  Json json{{"number", row.key->key},
            {"name", readableName(*row.key)},
            {"key", row.key->name},
            {"type", kindName(row.key->type)},
            {"value", settingJson(row.value)},
            {"default", settingJson(row.key->value)},
            {"range", row.words.range.text},
            {"label", row.words.label}};
  if (origin) json["origin"] = row.origin;
  return json;
}

} // namespace

nlohmann::json settingJson(const GeData& value) {
  switch (value.GetType()) {
  case DA_NIL:
    return nullptr;
  case DA_LONG:
    return value.GetLong();
  case DA_REAL:
    return value.GetReal();
  case DA_VECTOR: {
    const Vector vector = value.GetVector();
    return {vector.x, vector.y, vector.z};
  }
  default:
    return settingText(value);
  }
}

std::string settingOrigin(const lmKey& key, const GeData& value, const GeData* site,
                          const std::string& siteFile) {
  if (site && *site == value) return siteFile;
  return value == key.value ? "plug-in" : "home";
}

void listSettings(const BaseContainer& values, const host::PluginUnit& plugin, const Filename& startupPath,
                  const SettingsOptions& options) {
  const host::SiteDefaults site = options.origin ? host::allSiteDefaults(startupPath) : host::SiteDefaults();
  Json all = Json::array();
  for (const Row& row : settingRows(values, plugin, site))
    if (options.json)
      all.push_back(rowJson(row, options.origin));
    else
      printRow(row, options.origin);
  if (options.json) std::printf("%s\n", all.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace batch
