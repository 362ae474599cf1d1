#include <cstdio>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "lm_folder.h"
#include "lm_settings.h"
#include "main.h"
#include "messages.h"
#include "plugin_unit.h"
#include "program.h"
#include "setting_list.h"
#include "setting_names.h"
#include "setting_presets.h"
#include "setting_values.h"
#include "setting_words.h"
#include "thread_context.h"

namespace batch {
namespace {

/// A host without registered commands, because their dialogs would write all their settings back at the end,
/// over changes that other programs stored in between.
class SettingsHost {
 public:
  explicit SettingsHost(const std::string& home)
      : messages_(false), ui_(messages_), program_(options(home)),
        plugin_(linkedPlugin(program_.startupPath())) {}

  /// Applies a pending reset, as every start of the plug-in does.
  void applyReset() {
    const host::PluginScope scope(&plugin_);
    CheckResetLM();
  }
  const host::PluginUnit& plugin() const { return plugin_; }
  const Filename& startupPath() const { return program_.startupPath(); }
  /// Refuses changes to a temporary home, which would be lost.
  void requireHome() const {
    if (!program_.homeIsKept())
      throw Stop(ExitCode::outputNotWritable,
                 "the settings were not changed, for there is no safe home to keep them in; name a folder of "
                 "your own with --home");
  }

 private:
  host::ProgramOptions options(const std::string& home) {
    host::ProgramOptions options;
    options.home = Filename(String(home));
    options.ui = &ui_;
    options.loadModules = false;
    options.consoleEcho = nullptr; // the messages print it
    return options;
  }

  Messages messages_;
  BatchInterface ui_;
  host::Program program_;
  host::PluginUnit plugin_;
};

/// The defaults overlaid with the stored values, as in the dialogs.
BaseContainer currentSettings() {
  lmSettings settings;
  settings.Init(ID_LUMENARA);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_BOTH);
  settings.Load();
  return *settings.GetDataInstance();
}

/// One line per setting: readable name and, after a tab, LM_ name. As JSON an object of both.
void listNames(bool asJson) {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const lmKey* key = keys; key != keys + count; ++key) {
    if (asJson)
      json[readableName(*key)] = key->name;
    else
      std::printf("%s\t%s\n", readableName(*key).c_str(), key->name);
  }
  if (asJson) std::printf("%s\n", json.dump(2).c_str());
}

void get(const std::string& name, bool json) {
  const lmKey& key = findSetting(name);
  const GeData value = currentSettings().GetData(key.key);
  const std::string text =
      json ? settingJson(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
           : settingText(value);
  std::printf("%s\n", text.c_str());
}

/// Checks the value against the range that `list` shows.
void checkValue(const host::PluginUnit& plugin, const std::string& name, const std::string& text) {
  const lmKey& key = findSetting(name);
  const auto words = settingWords(plugin);
  const auto found = words.find(key.key);
  if (found != words.end()) checkRange(key, parseSetting(key, text), found->second.range);
}

void set(const std::string& name, const std::string& text) {
  const lmKey& key = findSetting(name);
  BaseContainer change;
  change.SetData(key.key, parseSetting(key, text));
  if (!SetWorldPluginData(ID_LUMENARA, change, TRUE)) {
    throw Stop(ExitCode::outputNotWritable, std::string(key.name) + " was not stored in " +
                                                GeGetStartupWritePath().GetString().GetUTF8() +
                                                "; make the folder writable or name another with --home");
  }
}

void usePreset(const std::string& name) {
  if (!SetWorldPluginData(ID_LUMENARA, host::settingPreset(name), TRUE)) {
    throw Stop(ExitCode::outputNotWritable, "the preset was not stored in " +
                                                GeGetStartupWritePath().GetString().GetUTF8() +
                                                "; make the folder writable or name another with --home");
  }
}

void leaveResetMarker() {
  const Filename marker = GetDataFolder() + "reset.lm";
  AutoAlloc<BaseFile> file;
  if (!GeFCreateDirRec(GetDataFolder()) || !file || !file->Open(marker, FILEOPEN_WRITE, FILEDIALOG_NONE) ||
      !file->Close()) {
    throw Stop(ExitCode::outputNotWritable,
               marker.GetString().GetUTF8() +
                   " cannot be written; make its folder writable or name another with "
                   "--home");
  }
  std::printf("The settings return to their defaults at the next start.\n");
}

} // namespace

ExitCode runSettings(const SettingsOptions& options) {
  // Checked before anything is changed.
  if (!options.key.empty()) {
    const lmKey& key = findSetting(options.key);
    if (options.action == SettingsAction::set) parseSetting(key, options.value);
  }
  if (options.names) {
    listNames(options.json);
    return ExitCode::done;
  }
  SettingsHost host(options.home);
  const bool reads = options.action == SettingsAction::list || options.action == SettingsAction::get;
  if (!reads) host.requireHome();
  if (options.action == SettingsAction::reset) {
    leaveResetMarker();
    return ExitCode::done;
  }
  if (options.action == SettingsAction::set) checkValue(host.plugin(), options.key, options.value);
  host.applyReset();
  if (options.action == SettingsAction::list)
    listSettings(currentSettings(), host.plugin(), host.startupPath(), options);
  if (options.action == SettingsAction::get) get(options.key, options.json);
  if (options.action == SettingsAction::set) set(options.key, options.value);
  if (options.action == SettingsAction::preset) usePreset(options.preset);
  return ExitCode::done;
}

} // namespace batch
