#include "site_defaults.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>

#include "config_folders.h"
#include "console.h"
#include "preferences.h"
#include "read_file.h"
#include "setting_table.h"

namespace host {
namespace {

using Json = nlohmann::json;
constexpr std::uintmax_t largestFile = 1 << 20;
constexpr const char* formatName = "Lumenara defaults";
constexpr std::size_t longestName = 60; // of a setting, in a message

const char* chosenFile() {
  const char* file = std::getenv("LUMENARA_DEFAULTS");
  return file && *file ? file : nullptr;
}

std::size_t lineOf(std::string_view text, std::size_t position) {
  const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(position, text.size()));
  return 1 + static_cast<std::size_t>(std::count(text.begin(), end, '\n'));
}

// The line of an entry: names are unique in the format, so the first quoted one is it.
std::size_t lineOfEntry(std::string_view text, const std::string& name) {
  const std::size_t at = text.find('"' + name + '"');
  return at == std::string_view::npos ? 1 : lineOf(text, at);
}

/// Keeps the place at which the text ceases to be JSON.
class FaultPlace : public nlohmann::json_sax<Json> {
 public:
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(string_t&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
    position_ = position;
    return false;
  }
  std::size_t position() const { return position_; }

 private:
  std::size_t position_ = 0;
};

std::size_t faultLine(std::string_view text) {
  FaultPlace place;
  Json::sax_parse(text.begin(), text.end(), &place);
  return lineOf(text, place.position() > 0 ? place.position() - 1 : 0);
}

bool wholeNumber(const Json& json, GeData& data) {
  if (json.is_boolean()) return data = GeData(static_cast<LONG>(json.get<bool>())), true;
  if (!json.is_number_integer()) return false;
  const auto number = json.get<double>(); // exact in the range that counts
  if (number < std::numeric_limits<LONG>::min() || number > std::numeric_limits<LONG>::max()) return false;
  return data = GeData(static_cast<LONG>(number)), true;
}

bool vectorValue(const Json& json, GeData& data) {
  if (!json.is_array() || json.size() != 3) return false;
  if (!std::all_of(json.begin(), json.end(), [](const Json& part) { return part.is_number(); })) return false;
  return data = GeData(Vector(json[0].get<Real>(), json[1].get<Real>(), json[2].get<Real>())), true;
}

bool valueOf(LONG type, const Json& json, GeData& data) {
  switch (type) {
  case DA_LONG:
    return wholeNumber(json, data);
  case DA_REAL:
    return json.is_number() && (data = GeData(json.get<Real>()), true);
  case DA_VECTOR:
    return vectorValue(json, data);
  case DA_STRING:
    return json.is_string() && (data = GeData(String(json.get<std::string>())), true);
  case DA_FILENAME:
    return json.is_string() && (data = GeData(Filename(String(json.get<std::string>()))), true);
  default:
    return false;
  }
}

const char* wantedValue(LONG type) {
  switch (type) {
  case DA_LONG:
    return "needs a whole number";
  case DA_REAL:
    return "needs a number";
  case DA_VECTOR:
    return "needs three numbers, [r, g, b]";
  case DA_CONTAINER:
    return "cannot be given here";
  default:
    return "needs a text";
  }
}

// Empty: the entry was added.
std::string addEntry(const std::string& name, const Json& value, const Filename& file,
                     SiteDefaults& defaults) {
  const SettingName* setting = findSettingName(name);
  if (!setting)
    return "there is no setting \"" + name.substr(0, longestName) +
           "\"; `lumenara settings list --names` shows all";
  GeData data;
  if (!valueOf(setting->type, value, data))
    return "\"" + name.substr(0, longestName) + "\" " + wantedValue(setting->type);
  defaults.values.SetData(setting->key, data);
  defaults.origins[setting->key] = file;
  return {};
}

void complain(SiteDefaults& defaults, const Filename& file, std::size_t line, const std::string& reason) {
  std::string place = file.GetString().GetUTF8();
  if (line > 0) place += ":" + std::to_string(line);
  defaults.faults.push_back("Site defaults, " + place + ": " + reason + ".");
}

void addEntries(const Json& settings, std::string_view text, const Filename& file, SiteDefaults& defaults) {
  std::string first;
  std::size_t line = 0, wrong = 0;
  for (const auto& [name, value] : settings.items()) {
    const std::string reason = addEntry(name, value, file, defaults);
    if (reason.empty()) continue;
    const std::size_t at = lineOfEntry(text, name);
    if (wrong++ == 0 || at < line) first = reason, line = at;
  }
  if (wrong == 0) return;
  if (wrong > 1)
    first += " (and " + std::to_string(wrong - 1) + (wrong == 2 ? " other entry)" : " other entries)");
  complain(defaults, file, line, first + "; mend or remove it, the other entries are used");
}

} // namespace

std::vector<Filename> siteDefaultsFiles(const Filename& startupPath) {
  if (const char* chosen = chosenFile()) return {Filename(chosen)};
  std::vector<Filename> files;
  for (const Filename& folder : platform::configFolders())
    files.push_back(folder + "lumenara" + "defaults.json");
  files.push_back(startupPath + "defaults.json");
  std::reverse(files.begin(), files.end());
  return files;
}

void readSiteDefaults(const Filename& file, SiteDefaults& defaults) {
  if (file.GetString() == "/dev/null") return; // the usual name of an empty file
  const FileContent content = readFile(file, largestFile);
  if (content.fault == ReadFault::missing) {
    if (chosenFile()) complain(defaults, file, 0, "the file is not there; mend LUMENARA_DEFAULTS");
    return;
  }
  if (content.fault != ReadFault::none) {
    complain(defaults, file, 0,
             "the file cannot be used" + (content.reason.empty() ? "" : ": " + content.reason) +
                 "; it must be a plain file of at most 1 MB that you may read");
    return;
  }
  const std::string_view text = content.text();
  if (std::all_of(text.begin(), text.end(),
                  [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }))
    return;
  const Json json = Json::parse(text.begin(), text.end(), nullptr, false);
  if (json.is_discarded())
    return complain(defaults, file, faultLine(text),
                    "this is not JSON; mend the file, nothing of it is used");
  if (!json.is_object() || json.value("format", Json()) != formatName || json.value("version", Json()) != 1 ||
      !json.contains("settings") || !json["settings"].is_object())
    return complain(
        defaults, file, 1,
        "this is not a file of defaults; it needs \"format\": \"Lumenara defaults\", \"version\": 1 "
        "and \"settings\"");
  addEntries(json["settings"], text, file, defaults);
}

SiteDefaults allSiteDefaults(const Filename& startupPath) {
  SiteDefaults defaults;
  for (const Filename& file : siteDefaultsFiles(startupPath))
    readSiteDefaults(file, defaults);
  return defaults;
}

void startWithSiteDefaults(Preferences& preferences, const Filename& startupPath) {
  const SiteDefaults defaults = allSiteDefaults(startupPath);
  for (const std::string& fault : defaults.faults)
    printLine(String(fault));
  if (defaults.values.GetCount() > 0) preferences.presume(viewerSettings, defaults.values);
}

} // namespace host
