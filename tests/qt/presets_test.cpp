// Render > Viewer Optimizations: presets of the viewer's settings.
#include <QComboBox>

#include "dialog_window.h"
#include "lm_keys.h"
#include "main_kit.h"
#include "setting_presets.h"
#include "setting_table.h"

namespace {

constexpr LONG optimizeCommand = 1021446;

TEST(SettingPresets, SetTheSameSettingsAndKnowTheViewersDefaults) {
  BaseContainer defaults;
  WriteDefaults(&defaults, LM_DEFAULT_BOTH);
  const BaseContainer usual = host::settingPresetDefaults();
  for (const std::string_view name : host::settingPresetNames()) {
    const BaseContainer values = host::settingPreset(name);
    LONG count = 0;
    for (; values.GetIndexId(count) != NOTOK; ++count) {
      const LONG key = values.GetIndexId(count);
      EXPECT_EQ(usual.GetData(key), defaults.GetData(key)) << key;
      EXPECT_EQ(values.GetData(key).GetType(), usual.GetData(key).GetType()) << key;
    }
    EXPECT_EQ(count, 16) << name;
  }
  EXPECT_EQ(host::settingPreset("nonsense").GetIndexId(0), NOTOK);
}

class Presets : public StudioTest {
 protected:
  Presets() {
    linkPlugin = true;
    startStudio();
  }
  LONG stored(const char* name) {
    return GetWorldPluginData(host::viewerSettings)->GetLong(host::findSettingName(name)->key, -1);
  }
  double lod() {
    return GetWorldPluginData(host::viewerSettings)->GetReal(host::findSettingName("opt.lod")->key, -1);
  }
  host::DialogWindow* optimizations() {
    for (auto* window : this->window().findChildren<host::DialogWindow*>())
      if (window->windowTitle() == "Optimizations") return window;
    return nullptr;
  }
  QComboBox& antiAliasing() { return *optimizations()->findChild<QComboBox*>("gadget-15004"); }
};

TEST_F(Presets, AreStoredAndTakenBackInOneStep) {
  EXPECT_FALSE(action("render.preset-back")->isEnabled());
  choose("render.preset-draft");
  EXPECT_EQ(stored("opt.res-divisor"), 2);
  EXPECT_EQ(stored("opt.gi"), 0);
  EXPECT_DOUBLE_EQ(lod(), 0.5);
  EXPECT_TRUE(action("render.preset-draft")->isChecked());
  choose("render.preset-back");
  EXPECT_EQ(stored("opt.res-divisor"), 1);
  EXPECT_EQ(stored("opt.gi"), 1);
  EXPECT_EQ(stored("opt.anti-aliasing"), 0);
  EXPECT_FALSE(action("render.preset-draft")->isChecked());
  EXPECT_FALSE(action("render.preset-back")->isEnabled()) << "one step";
}

TEST_F(Presets, ReachAnOpenViewerAndTheDialogAndStay) {
  ASSERT_TRUE(session().runCommand(host::viewerSettings));
  ASSERT_TRUE(session().runCommand(optimizeCommand));
  settle();
  ASSERT_NE(optimizations(), nullptr);
  EXPECT_EQ(antiAliasing().currentIndex(), 0);
  choose("render.preset-final");
  EXPECT_EQ(antiAliasing().currentIndex(), 2);
  EXPECT_EQ(stored("opt.anti-aliasing"), 2);
  stopStudio(); // the dialogs store what they know
  startStudio();
  EXPECT_EQ(stored("opt.anti-aliasing"), 2);
  EXPECT_EQ(stored("opt.caustics"), 1);
}

} // namespace
