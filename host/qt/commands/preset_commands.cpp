#include "preset_commands.h"

#include <cmath>
#include <memory>

#include "c4d_events.h"
#include "c4d_plugin.h"
#include "command_table.h"
#include "dialog_state.h"
#include "plugin_registry.h"
#include "setting_presets.h"
#include "setting_table.h"

namespace host {

namespace {

constexpr LONG optimizations = 1021446; // the dialog, and the event that tells the viewer of a change
constexpr Real realFactor = 100;        // of a real in that event

QString word(const char* text) {
  return QCoreApplication::translate("host::MainCommands", text);
}

// The stored value, else the viewer's default.
GeData valueNow(LONG key) {
  const BaseContainer* stored = GetWorldPluginData(viewerSettings);
  if (stored && stored->FindIndex(key) >= 0) return stored->GetData(key);
  return settingPresetDefaults().GetData(key);
}

bool isShown(const BaseContainer& values) {
  for (LONG i = 0; values.GetIndexId(i) != NOTOK; ++i)
    if (valueNow(values.GetIndexId(i)) != values.GetData(values.GetIndexId(i))) return false;
  return true;
}

void tellViewer(LONG key, const GeData& value) {
  const Real number =
      value.GetType() == DA_REAL ? value.GetReal() * realFactor : static_cast<Real>(value.GetLong());
  SpecialEventAdd(optimizations, static_cast<ULLONG>(key),
                  static_cast<ULLONG>(static_cast<LLONG>(std::lround(number))));
}

bool hasViewer() {
  const PluginRegistry* registry = pluginRegistry();
  return registry && registry->findCommand(viewerSettings);
}

} // namespace

BaseContainer applyViewerSettings(const BaseContainer& values) {
  BaseContainer former;
  for (LONG i = 0; values.GetIndexId(i) != NOTOK; ++i)
    former.SetData(values.GetIndexId(i), valueNow(values.GetIndexId(i)));
  SetWorldPluginData(viewerSettings, values, TRUE); // says itself when it cannot be written
  for (LONG i = 0; values.GetIndexId(i) != NOTOK; ++i)
    tellViewer(values.GetIndexId(i), values.GetData(values.GetIndexId(i)));
  reloadDialogs(optimizations);
  return former;
}

void addPresetCommands(CommandTable& commands) {
  // The values before the last preset; one step, as the settings are no part of the scene's history.
  const auto former = std::make_shared<BaseContainer>();
  const auto isKept = [former] { return former->GetIndexId(0) != NOTOK; };
  const struct {
    const char *id, *name;
    QString text;
  } presets[] = {{"render.preset-draft", "draft", word("&Draft")},
                 {"render.preset-look", "look", word("&Look")},
                 {"render.preset-final", "final", word("&Final")}};
  for (const auto& preset : presets)
    commands.add({QLatin1String(preset.id),
                  word("Render"),
                  word("Viewer Optimizations: %1").arg(QString(preset.text).remove(QLatin1Char('&'))),
                  "",
                  {},
                  [former, values = settingPreset(preset.name)] {
                    if (!isShown(values)) *former = applyViewerSettings(values);
                  },
                  hasViewer,
                  [values = settingPreset(preset.name)] { return isShown(values); },
                  [text = preset.text] { return text; }});
  commands.add({QStringLiteral("render.preset-back"),
                word("Render"),
                word("Take Back the &Preset"),
                "",
                {},
                [former] {
                  applyViewerSettings(*former);
                  *former = BaseContainer();
                },
                [isKept] { return hasViewer() && isKept(); }});
}

} // namespace host
