// Start-up: the data folder, a pending reset, the commands, the banner.
#include <gtest/gtest.h>

#include <algorithm>

#include "lm_keys.h"
#include "lm_version.h"
#include "main.h"
#include "plugin_fixture.h"

namespace {

using EntryTest = PluginFixture;

Filename marker(const Filename& folder) {
  return folder + "reset.lm";
}

LONG countOf(const std::vector<std::string>& lines, const std::string& line) {
  return static_cast<LONG>(std::count(lines.begin(), lines.end(), line));
}

const std::string RESET_TEXT = "Your Lumenara settings have been reset.";

TEST_F(EntryTest, StartMakesTheDataFolderWithItsParents) {
  ASSERT_TRUE(startPlugin());
  EXPECT_TRUE(GeFExist(GeGetStartupWritePath() + "plugins" + "Lumenara", TRUE));
}

// The dialogs, which come later, would create it as well.
TEST_F(EntryTest, TheDataFolderExistsWhenAResetIsReported) {
  touch(marker(GeGetStartupWritePath()));
  ASSERT_FALSE(GeFExist(GeGetStartupWritePath() + "plugins", TRUE));
  bool there = false;
  ui.whileBoxIsOpen = [&] { there = GeFExist(home() + "plugins" + "Lumenara", TRUE) != FALSE; };
  ASSERT_TRUE(startPlugin());
  EXPECT_EQ(messages(), std::vector<std::string>{RESET_TEXT});
  EXPECT_TRUE(there);
}

TEST_F(EntryTest, RegistersTheFourCommandsInTheirOrder) {
  ASSERT_TRUE(startPlugin());
  const auto commands = program().registry().commands(true);
  ASSERT_EQ(commands.size(), 4u);
  const LONG ids[] = {1021442, 1021447, 1021448, 1021446};
  const char* names[] = {"Lumenara", "Lumenara Refresh", "Lumenara Cancel", "Lumenara Optimizations"};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(commands[i]->id, ids[i]);
    EXPECT_EQ(commands[i]->name, String(names[i]));
    EXPECT_EQ(commands[i]->help, String(names[i]));
    EXPECT_EQ(commands[i]->info, 0);
    ASSERT_NE(commands[i]->icon, nullptr) << names[i];
    EXPECT_EQ(commands[i]->icon->GetBw(), 32);
  }
}

TEST_F(EntryTest, EveryCommandHasItsIcon) {
  ASSERT_TRUE(startPlugin());
  const std::pair<LONG, const char*> icons[] = {
      {1021442, "lm.tif"}, {1021447, "refresh.tif"}, {1021448, "cancel.tif"}, {1021446, "lm.tif"}};
  for (const auto& [id, file] : icons) {
    SCOPED_TRACE(file);
    const BaseBitmap* icon = program().registry().findCommand(id)->icon;
    AutoAlloc<BaseBitmap> picture;
    callAsPlugin([&, name = file] { picture.Assign(AutoBitmap(name)); });
    ASSERT_NE(icon, nullptr);
    ASSERT_TRUE(static_cast<bool>(picture));
    ASSERT_EQ(icon->GetBw(), picture->GetBw());
    ASSERT_EQ(icon->GetBh(), picture->GetBh());
    UWORD r, g, b;
    LONG different = 0;
    for (LONG y = 0; y < picture->GetBh(); ++y) {
      for (LONG x = 0; x < picture->GetBw(); ++x) {
        picture->GetPixel(x, y, &r, &g, &b);
        different += !pixelIs(*icon, x, y, r, g, b) || icon->GetAlpha(x, y) != picture->GetAlpha(x, y);
      }
    }
    EXPECT_EQ(different, 0);
  }
}

TEST_F(EntryTest, EveryCommandIsEnabled) {
  ASSERT_TRUE(startPlugin());
  for (const LONG id : {1021442, 1021447, 1021448, 1021446}) {
    EXPECT_EQ(program().registry().state(id, nullptr), 0x40000000) << id;
  }
}

TEST_F(EntryTest, TheRefreshAndCancelCommandsPostTheirEvents) {
  ASSERT_TRUE(startPlugin());
  MessageLog log;
  runMainLoop();
  log.messages.clear();
  EXPECT_TRUE(program().registry().execute(1021447, nullptr));
  EXPECT_TRUE(program().registry().execute(1021448, nullptr));
  runMainLoop();
  ASSERT_EQ(log.messages.size(), 2u);
  EXPECT_EQ(log.messages[0], (Message{1021447, 0, 0}));
  EXPECT_EQ(log.messages[1], (Message{1021448, 0, 0}));
}

TEST_F(EntryTest, TheDialogCommandsOpenTheirDialogs) {
  ASSERT_TRUE(startPlugin());
  CallCommand(1021442);
  CallCommand(1021446);
  const auto opened = openedDialogs();
  ASSERT_EQ(opened.size(), 2u);
  EXPECT_EQ(opened[0].type, DLG_TYPE_ASYNC);
  EXPECT_EQ(opened[0].pluginId, 1021442);
  EXPECT_EQ(opened[0].subId, 0);
  EXPECT_EQ(opened[0].x, -1);
  EXPECT_EQ(opened[0].y, -1);
  EXPECT_EQ(opened[0].width, 400);
  EXPECT_EQ(opened[0].height, 300);
  EXPECT_EQ(opened[1].type, DLG_TYPE_ASYNC);
  EXPECT_EQ(opened[1].pluginId, 1021446);
  EXPECT_EQ(opened[1].subId, 0);
  EXPECT_EQ(opened[1].x, -1);
  EXPECT_EQ(opened[1].y, -1);
  EXPECT_EQ(opened[1].width, 0);
  EXPECT_EQ(opened[1].height, 0);
}

TEST_F(EntryTest, RestoresTheDialogsThatWereOpen) {
  ASSERT_TRUE(startPlugin());
  for (const LONG id : {1021442, 1021446}) {
    SCOPED_TRACE(id);
    ui.remembered.clear();
    ui.openedDialogs.clear();
    restoreDialog(id);
    program().registry().restoreLayouts(nullptr);
    const auto opened = openedDialogs();
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].pluginId, id);
    EXPECT_EQ(opened[0].subId, 0);
  }
  ui.remembered[0].subId = 1;
  ui.openedDialogs.clear();
  program().registry().restoreLayouts(nullptr);
  EXPECT_TRUE(openedDialogs().empty()) << "another dialog's place";
}

TEST_F(EntryTest, TheOptimizationsDialogPostsOneEventWhenItIsMade) {
  MessageLog log;
  ASSERT_TRUE(startPlugin());
  runMainLoop();
  LONG count = 0;
  for (const Message& message : log.messages) {
    if (message == Message{1021446, 0, 0}) ++count;
  }
  EXPECT_EQ(count, 1);
}

TEST_F(EntryTest, PrintsTheBannerBetweenTwoFrameLines) {
  ASSERT_TRUE(startPlugin());
  const std::vector<std::string> lines = console;
  const std::string frame = "||----------------------------------------";
  const auto first = std::find(lines.begin(), lines.end(), frame);
  ASSERT_NE(first, lines.end());
  ASSERT_NE(first + 1, lines.end());
  EXPECT_EQ(*(first + 1), "||  Lumenara v" + GetVersionString().GetUTF8());
  const auto last = std::find(first + 1, lines.end(), frame);
  ASSERT_NE(last, lines.end());
  EXPECT_GT(last - first, 2) << "the notice lines";
  EXPECT_EQ(countOf(lines, frame), 2);
}

TEST_F(EntryTest, TheBannerHasTheGivenName) {
  PrintVersionString("Other", FALSE);
  const std::string frame = "||----------------------------------------";
  EXPECT_EQ(console, (std::vector<std::string>{frame, "||  Other v" + GetVersionString().GetUTF8(), frame}));
}

TEST_F(EntryTest, TheVersionIsMajorAndTwoDigitsOfMinor) {
  const std::string version = GetVersionString().GetUTF8();
  const std::size_t point = version.find('.');
  ASSERT_NE(point, std::string::npos);
  EXPECT_EQ(version.size() - point - 1, 2u);
  EXPECT_EQ(version.find_first_not_of("0123456789."), std::string::npos);
}

TEST_F(EntryTest, AFailedRegistrationPrintsOneLineAndKeepsTheOthers) {
  // The third command's number is taken.
  class Other : public CommandData {};
  ASSERT_TRUE(RegisterCommandPlugin(1021448, "Other", 0, nullptr, "Other", new Other));
  ASSERT_TRUE(startPlugin());
  EXPECT_EQ(countOf(console, "Lumenara Error: Failed to load component"), 1);
  EXPECT_EQ(countOf(console, "||----------------------------------------"), 0);
  EXPECT_NE(program().registry().findCommand(1021442), nullptr);
  EXPECT_NE(program().registry().findCommand(1021447), nullptr);
  EXPECT_EQ(program().registry().findCommand(1021446), nullptr);
  EXPECT_EQ(program().registry().findSceneHook(1021443), nullptr) << "the commands come first";
  EXPECT_EQ(program().registry().findVideoPost(1021449), nullptr);
}

TEST_F(EntryTest, AFailedSceneHookIsOneLineAndTheCommandsStay) {
  class Other : public CommandData {};
  ASSERT_TRUE(RegisterCommandPlugin(1021443, "Other", 0, nullptr, "Other", new Other));
  EXPECT_TRUE(startPlugin());
  EXPECT_EQ(countOf(console, "Lumenara Error: Failed to load component"), 1);
  EXPECT_EQ(countOf(console, "||----------------------------------------"), 0);
  EXPECT_EQ(program().registry().commands(true).size(), 5u);
  EXPECT_EQ(program().registry().findVideoPost(1021449), nullptr) << "the hook comes first";
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(LM_REGION_SHOWN, -1), 0) << "the start goes on";
}

TEST_F(EntryTest, AFailedVideoPostIsOneLineAndTheRestStays) {
  class Other : public CommandData {};
  ASSERT_TRUE(RegisterCommandPlugin(1021449, "Other", 0, nullptr, "Other", new Other));
  EXPECT_TRUE(startPlugin());
  EXPECT_EQ(countOf(console, "Lumenara Error: Failed to load component"), 1);
  EXPECT_EQ(countOf(console, "||----------------------------------------"), 0);
  EXPECT_EQ(program().registry().commands(true).size(), 5u);
  EXPECT_NE(program().registry().findSceneHook(1021443), nullptr);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(LM_REGION_SHOWN, -1), 0) << "the start goes on";
}

TEST_F(EntryTest, TheViewerAlwaysStartsSwitchedOff) {
  BaseContainer stored;
  stored.SetLong(LM_ENABLED, 1);
  stored.SetLong(LM_REGION_SHOWN, 1);
  stored.SetLong(LM_LOCK, 1);
  SetWorldPluginData(ID_LUMENARA, stored);
  ASSERT_TRUE(startPlugin());
  const BaseContainer& after = *GetWorldPluginData(ID_LUMENARA);
  EXPECT_EQ(after.GetLong(LM_ENABLED, -1), 0);
  EXPECT_EQ(after.GetLong(LM_REGION_SHOWN, -1), 0);
  EXPECT_EQ(after.GetLong(LM_LOCK, -1), 1);
}

TEST_F(EntryTest, AMarkerInAnyOfTheFiveFoldersResets) {
  const Filename folders[] = {pluginFolder(), GeGetStartupPath(), GeGetStartupWritePath(),
                              GeGetStartupWritePath() + "plugins",
                              GeGetStartupWritePath() + "plugins" + "Lumenara"};
  for (const Filename& place : folders) {
    SCOPED_TRACE(place.GetString().GetUTF8());
    clearMessages();
    ASSERT_TRUE(GeFCreateDirRec(place));
    BaseContainer stored;
    stored.SetLong(LM_LOCK, 1);
    SetWorldPluginData(ID_LUMENARA, stored);
    touch(marker(place));

    callAsPlugin([] { CheckResetLM(); });
    EXPECT_FALSE(GeFExist(marker(place)));
    EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetCount(), 0);
    EXPECT_EQ(countOf(messages(), RESET_TEXT), 1);
  }
}

TEST_F(EntryTest, TwoMarkersAreBothDeletedAndTheMessageAppearsOnce) {
  touch(marker(pluginFolder()));
  touch(marker(GeGetStartupWritePath()));
  BaseContainer stored;
  stored.SetLong(LM_LOCK, 1);
  SetWorldPluginData(ID_LUMENARA, stored);
  ASSERT_TRUE(startPlugin());
  EXPECT_FALSE(GeFExist(marker(pluginFolder())));
  EXPECT_FALSE(GeFExist(marker(GeGetStartupWritePath())));
  EXPECT_EQ(countOf(messages(), RESET_TEXT), 1);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->FindIndex(LM_LOCK), -1);
}

TEST_F(EntryTest, AMarkerWithoutStoredSettingsStillShowsTheMessage) {
  touch(marker(GeGetStartupWritePath()));
  ASSERT_TRUE(startPlugin());
  EXPECT_EQ(countOf(messages(), RESET_TEXT), 1);
}

TEST_F(EntryTest, AFolderWithTheMarkersNameIsIgnored) {
  ASSERT_TRUE(GeFCreateDirRec(marker(GeGetStartupWritePath())));
  ASSERT_TRUE(startPlugin());
  EXPECT_TRUE(messages().empty());
  EXPECT_TRUE(GeFExist(marker(GeGetStartupWritePath()), TRUE));
}

TEST_F(EntryTest, WithoutAMarkerNothingIsReset) {
  BaseContainer stored;
  stored.SetLong(LM_LOCK, 1);
  SetWorldPluginData(ID_LUMENARA, stored);
  ASSERT_TRUE(startPlugin());
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(LM_LOCK), 1);
}

TEST_F(EntryTest, TheMessageEntryAnswersTheInitialisationOnly) {
  callAsPlugin([] {
    EXPECT_TRUE(PluginMessage(1, nullptr));
    EXPECT_FALSE(PluginMessage(0, nullptr));
    EXPECT_FALSE(PluginMessage(2, nullptr));
    EXPECT_FALSE(PluginMessage(1021442, nullptr));
  });
}

TEST_F(EntryTest, WithoutItsResourcesThePluginIsNotLoaded) {
  removeResources();
  EXPECT_FALSE(startPlugin());
  EXPECT_TRUE(program().registry().commands(true).empty());
}

TEST_F(EntryTest, AtTheEndTheViewersSettingsAreSavedLast) {
  ASSERT_TRUE(startPlugin());
  // The Optimizations dialog's own store holds 1 here, the viewer's too; another writer's value is
  // overwritten.
  BaseContainer stored;
  stored.SetLong(LM_OPT_RES_DIVISOR, 7);
  stored.SetLong(LM_REGION_SHOWN, 1);
  SetWorldPluginData(ID_LUMENARA, stored);
  endProgram();
  const BaseContainer after = storedSettings();
  EXPECT_EQ(after.GetLong(LM_OPT_RES_DIVISOR), 1);
  EXPECT_EQ(after.GetLong(LM_REGION_SHOWN, -1), 0);
  EXPECT_EQ(after.GetLong(LM_HISTORY_SIZE), 10);
  EXPECT_EQ(after.GetLong(LM_STEREO_NAMED_CAMERAS, -1), 0);
}

TEST_F(EntryTest, StoredSettingsComeBackAtTheNextStart) {
  BaseContainer stored;
  stored.SetLong(LM_REFRESH_DELAY, 900);
  SetWorldPluginData(ID_LUMENARA, stored);
  ASSERT_TRUE(startPlugin());
  endProgram();
  EXPECT_EQ(storedSettings().GetLong(LM_REFRESH_DELAY), 900);
}

} // namespace
