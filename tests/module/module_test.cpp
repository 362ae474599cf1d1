// The built module, loaded and started as by a host.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "c4d_events.h"
#include "c4d_file.h"
#include "c4d_plugin.h"
#include "host_fixture.h"
#include "temporary_folder.h"

namespace {

constexpr LONG idViewer = 1021442, idOptimize = 1021446, idRefresh = 1021447, idCancel = 1021448;
constexpr LONG keyEnabled = 10001, keyRegionShown = 10006, keyRefreshDelay = 20005;

struct Listener final : host::CoreListener {
  std::vector<LONG> ids;
  Listener() { host::mainLoop().add(this); }
  ~Listener() { host::mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer& message) override {
    ids.push_back(id == EVMSG_CHANGE ? id : message.GetLong(BFM_CORE_ID, id));
  }
};

class Module : public HostFixture {
 protected:
  Module() {
    options.startupPath = Filename(LUMENARA_PLUGINS_DIR).GetDirectory();
    options.loadModules = true;
  }

  int lines(const std::string& part) const {
    return static_cast<int>(std::count_if(console.begin(), console.end(), [&](const std::string& line) {
      return line.find(part) != std::string::npos;
    }));
  }

  /// The stored settings, read while no program runs.
  BaseContainer storedAfterwards() {
    stopHost();
    host::Preferences preferences(home() + "preferences.json");
    const BaseContainer* stored = preferences.get(idViewer);
    return stored ? *stored : BaseContainer();
  }

  void store(LONG key, LONG value) {
    GeFCreateDirRec(home());
    host::Preferences preferences(home() + "preferences.json");
    BaseContainer data;
    data.SetLong(key, value);
    ASSERT_TRUE(preferences.set(idViewer, data, true));
  }

  Filename dataFolder() const { return home() + "plugins" + "Lumenara"; }
};

TEST_F(Module, RegistersItsCommands) {
  host::Program& program = startHost();
  ASSERT_EQ(program.loader().units().size(), 1u);
  const auto commands = program.registry().commands(true);
  ASSERT_EQ(commands.size(), 4u);
  const struct {
    LONG id;
    const char* name;
  } expected[] = {{idViewer, "Lumenara"},
                  {idRefresh, "Lumenara Refresh"},
                  {idCancel, "Lumenara Cancel"},
                  {idOptimize, "Lumenara Optimizations"}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(commands[i]->id, expected[i].id);
    EXPECT_EQ(commands[i]->name, String(expected[i].name));
    EXPECT_EQ(commands[i]->help, String(expected[i].name));
    EXPECT_EQ(commands[i]->info, 0);
    EXPECT_EQ(program.registry().state(expected[i].id, nullptr), CMD_ENABLED);
    ASSERT_NE(commands[i]->icon, nullptr) << expected[i].name;
    EXPECT_GE(commands[i]->icon->GetBw(), 16);
    EXPECT_GE(commands[i]->icon->GetBh(), 16);
  }
}

TEST_F(Module, PrintsItsBanner) {
  startHost();
  ASSERT_GE(console.size(), 3u);
  EXPECT_EQ(console.front(), "||----------------------------------------");
  EXPECT_EQ(console[1].rfind("||  Lumenara v", 0), 0u) << console[1];
  EXPECT_EQ(console.back(), "||----------------------------------------");
  EXPECT_EQ(lines("Error"), 0);
}

TEST_F(Module, MakesItsDataFolder) {
  EXPECT_FALSE(GeFExist(dataFolder(), TRUE));
  startHost();
  EXPECT_TRUE(GeFExist(dataFolder(), TRUE));
}

TEST_F(Module, ItsDataFolderIsNoPlugin) {
  startHost();
  stopHost();
  startHost();
  EXPECT_EQ(program().loader().units().size(), 1u);
  EXPECT_EQ(lines("not loaded"), 0);
}

TEST_F(Module, StartsSwitchedOffWhateverWasStored) {
  store(keyEnabled, 1);
  store(keyRegionShown, 1);
  startHost();
  const BaseContainer* stored = GetWorldPluginData(idViewer);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetLong(keyEnabled, -1), 0);
  EXPECT_EQ(stored->GetLong(keyRegionShown, -1), 0);
}

// Markers in two of the places: both are removed, the settings return to their defaults, the user is told
// once.
TEST_F(Module, AppliesAReset) {
  store(keyRefreshDelay, 777);
  GeFCreateDirRec(dataFolder());
  const Filename markers[] = {dataFolder() + "reset.lm", home() + "reset.lm"};
  for (const Filename& marker : markers) {
    AutoAlloc<BaseFile> file;
    ASSERT_TRUE(file->Open(marker, FILEOPEN_WRITE, FILEDIALOG_NONE) && file->Close());
  }
  startHost();
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Your Lumenara settings have been reset."});
  for (const Filename& marker : markers)
    EXPECT_FALSE(GeFExist(marker));
  EXPECT_EQ(storedAfterwards().GetLong(keyRefreshDelay, -1), 250);
}

TEST_F(Module, CommandsPostTheirEvents) {
  startHost();
  runAll(); // what the start has posted
  Listener listener;
  CallCommand(idRefresh);
  EXPECT_TRUE(listener.ids.empty()) << "delivered by the loop, not by the call";
  runAll();
  EXPECT_EQ(listener.ids, std::vector<LONG>{idRefresh});
  CallCommand(idCancel);
  runAll();
  EXPECT_EQ(listener.ids, (std::vector<LONG>{idRefresh, idCancel}));
}

// The Optimizations dialog announces its values once.
TEST_F(Module, StartPostsTheOptimizationsEvent) {
  Listener listener;
  startHost();
  runAll();
  EXPECT_EQ(std::count(listener.ids.begin(), listener.ids.end(), idOptimize), 1);
}

TEST_F(Module, ViewerCommandsOpenTheirDialogs) {
  startHost();
  CallCommand(idViewer);
  CallCommand(idOptimize);
  ASSERT_EQ(ui.openedDialogs.size(), 2u);
  EXPECT_EQ(ui.openedDialogs[0].placement.type, DLG_TYPE_ASYNC);
  EXPECT_EQ(ui.openedDialogs[0].placement.pluginId, idViewer);
  EXPECT_EQ(ui.openedDialogs[0].placement.width, 400);
  EXPECT_EQ(ui.openedDialogs[0].placement.height, 300);
  EXPECT_EQ(ui.openedDialogs[1].placement.pluginId, idOptimize);
  EXPECT_EQ(ui.openedDialogs[1].placement.width, 0);
}

// At the end the dialogs save their values: the defaults, overridden by the stored ones.
TEST_F(Module, ShutdownSavesTheSettings) {
  store(keyRefreshDelay, 777);
  startHost();
  const BaseContainer stored = storedAfterwards();
  EXPECT_EQ(stored.GetLong(keyRefreshDelay, -1), 777);
  EXPECT_EQ(stored.GetLong(keyEnabled, -1), 0);
  EXPECT_EQ(stored.GetLong(15008, -1), 2) << "an optimization's default";
  EXPECT_EQ(stored.GetLong(15060, -1), 0) << "one that only the Optimizations dialog has";
  EXPECT_EQ(stored.GetString(20018), String("Custom Text"));
}

// A broken module beside it adds one line to the console.
TEST_F(Module, ABrokenNeighbourDoesNotHarmIt) {
  folder.write("home/plugins/Broken/broken.so", "this is no module");
  startHost();
  EXPECT_EQ(program().loader().units().size(), 1u);
  EXPECT_EQ(program().registry().commands(true).size(), 4u);
  EXPECT_EQ(lines("broken.so"), 1);
  EXPECT_EQ(lines("||  Lumenara v"), 1);
}

TEST_F(Module, StartsAgainInTheSameHome) {
  startHost();
  stopHost();
  console.clear();
  startHost();
  EXPECT_EQ(program().registry().commands(true).size(), 4u);
  EXPECT_EQ(lines("||  Lumenara v"), 1);
}

// The title bar's pages lie beside the module, in the build and in an installation.
TEST_F(Module, TheProductPageAndTheManualLieBesideIt) {
  const Filename build = Filename(LUMENARA_PLUGINS_DIR).GetDirectory();
  const Filename installed = folder / "installed";
  const std::string install = "cmake --install '" + (build + "source").GetString().GetUTF8() +
                              "' --prefix '" + installed.GetString().GetUTF8() + "' >/dev/null";
  ASSERT_EQ(std::system(install.c_str()), 0);
  for (const Filename& tree : {build, installed + LUMENARA_INSTALL_LIB}) {
    const Filename docs = tree + "plugins" + "Lumenara" + "docs";
    EXPECT_TRUE(GeFExist(docs + "lm_manual.pdf")) << docs.GetString().GetUTF8();
    const std::string page = readText(docs + "lumenara.html");
    EXPECT_NE(page.find("<title>Lumenara</title>"), std::string::npos) << docs.GetString().GetUTF8();
    // Its links and pictures exist too.
    int links = 0;
    for (const char* attribute : {"href=\"", "src=\""}) {
      for (std::size_t at = page.find(attribute); at != std::string::npos;
           at = page.find(attribute, at + 1)) {
        const std::size_t first = page.find('"', at) + 1;
        const std::string link = page.substr(first, page.find('"', first) - first);
        if (link.starts_with("#")) continue;
        ++links;
        EXPECT_TRUE(GeFExist(docs + Filename(String(link)))) << link;
      }
    }
    EXPECT_GE(links, 2);
  }
}

} // namespace
