// Registration, linked plug-ins, modules, and the program around them.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "c4d_events.h"
#include "c4d_plugin.h"
#include "c4d_threading.h"
#include "file_path.h"
#include "host_fixture.h"
#include "platform.h"

namespace {

std::vector<std::string>* heard = nullptr; // calls of the linked plug-in's functions

void say(const std::string& what) {
  if (heard) heard->push_back(what);
}

class Command : public CommandData {
 public:
  explicit Command(std::string name) : name_(std::move(name)) {}
  ~Command() override { say("destroy " + name_ + " in " + GeGetPluginPath().GetString().GetUTF8()); }
  Bool Execute(BaseDocument* /*document*/) override {
    say("execute " + name_ + " in " + GeGetPluginPath().GetString().GetUTF8());
    if (throws) throw std::runtime_error("no");
    return TRUE;
  }
  LONG GetState(BaseDocument* /*document*/) override { return state; }
  Bool RestoreLayout(void* /*secret*/) override { return say("restore " + name_), TRUE; }

  LONG state = CMD_ENABLED;
  bool throws = false;

 private:
  std::string name_;
};

class Post : public VideoPostData {
 public:
  Post() : folder(GeGetPluginPath()) {}
  Filename folder;
};

NodeData* allocPost() {
  return new Post;
}

class PluginTest : public HostFixture {
 protected:
  PluginTest() { heard = &lines; }
  ~PluginTest() override {
    stopHost();
    heard = nullptr;
  }
  std::vector<std::string> lines;
};

TEST_F(PluginTest, RegistersUnderFreeNumbersOnly) {
  auto* spare = new Command("spare");
  EXPECT_FALSE(RegisterCommandPlugin(5, "A", 0, nullptr, "", spare)) << "no program";
  EXPECT_FALSE(RegisterVideoPostPlugin(6, "P", 0, allocPost, "", 0, 0));
  startHost();
  EXPECT_FALSE(RegisterCommandPlugin(0, "A", 0, nullptr, "", spare));
  EXPECT_FALSE(RegisterCommandPlugin(5, "A", 0, nullptr, "", nullptr));
  EXPECT_FALSE(RegisterVideoPostPlugin(6, "P", 0, nullptr, "", 0, 0));
  EXPECT_TRUE(RegisterCommandPlugin(5, "A", 7, nullptr, "help", new Command("a")));
  EXPECT_FALSE(RegisterCommandPlugin(5, "B", 0, nullptr, "", spare));
  EXPECT_FALSE(RegisterVideoPostPlugin(5, "P", 0, allocPost, "", 0, 0)) << "one number space";
  EXPECT_TRUE(RegisterVideoPostPlugin(6, "P", 0x20000002, allocPost, "", 0, 3));
  EXPECT_FALSE(RegisterCommandPlugin(6, "B", 0, nullptr, "", spare));
  delete spare; // still ours
  EXPECT_EQ(lines, std::vector<std::string>{"destroy spare in "});

  const host::CommandEntry* command = program().registry().findCommand(5);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(command->name, String("A"));
  EXPECT_EQ(command->help, String("help"));
  EXPECT_EQ(command->info, 7);
  const host::VideoPostEntry* post = program().registry().findVideoPost(6);
  ASSERT_NE(post, nullptr);
  EXPECT_EQ(post->priority, 3);
  EXPECT_EQ(program().registry().findCommand(6), nullptr);
  EXPECT_NE(dynamic_cast<Post*>(program().registry().makeVideoPostData(6).get()), nullptr);
  EXPECT_EQ(program().registry().makeVideoPostData(7), nullptr);
}

TEST_F(PluginTest, KeepsACopyOfTheIcon) {
  startHost();
  AutoAlloc<BaseBitmap> icon;
  icon->Init(16, 12);
  RegisterCommandPlugin(5, "A", 0, icon, "", new Command("a"));
  RegisterCommandPlugin(6, "B", 0, nullptr, "", new Command("b"));
  const host::CommandEntry* command = program().registry().findCommand(5);
  ASSERT_NE(command->icon, nullptr);
  EXPECT_NE(command->icon, static_cast<BaseBitmap*>(icon));
  EXPECT_EQ(command->icon->GetBw(), 16);
  EXPECT_EQ(command->icon->GetBh(), 12);
  EXPECT_EQ(program().registry().findCommand(6)->icon, nullptr);
}

TEST_F(PluginTest, ListsAndRunsCommands) {
  startHost();
  auto* off = new Command("off");
  off->state = 0;
  auto* bad = new Command("bad");
  bad->throws = true;
  RegisterCommandPlugin(3, "Three", 0, nullptr, "", new Command("three"));
  RegisterCommandPlugin(1, "Off", 0, nullptr, "", off);
  RegisterCommandPlugin(2, "Hidden", PLUGINFLAG_HIDEPLUGINMENU, nullptr, "", bad);
  std::vector<LONG> ids;
  for (const auto* entry : program().registry().commands())
    ids.push_back(entry->id);
  EXPECT_EQ(ids, (std::vector<LONG>{3, 1})) << "in the order of registration";
  EXPECT_EQ(program().registry().commands(true).size(), 3u);
  CallCommand(3);
  CallCommand(1);
  CallCommand(99);
  EXPECT_EQ(lines, std::vector<std::string>{"execute three in "});
  CallCommand(2);
  ASSERT_EQ(console.size(), 1u);
  EXPECT_EQ(console[0], "The command \"Hidden\" stopped with an error: no");
  EXPECT_EQ(program().registry().state(1, nullptr), 0);
  EXPECT_EQ(program().registry().state(99, nullptr), 0);
  lines.clear();
  program().registry().restoreLayouts(nullptr);
  EXPECT_EQ(lines, (std::vector<std::string>{"restore three", "restore off", "restore bad"}));
}

// A linked plug-in.
Bool linkedMessage(LONG id, void* /*data*/) {
  say("message " + std::to_string(id) + " in " + GeGetPluginPath().GetString().GetUTF8());
  return TRUE;
}
Bool linkedStart() {
  say("start in " + GeGetPluginPath().GetString().GetUTF8());
  RegisterCommandPlugin(11, "One", 0, nullptr, "", new Command("one"));
  RegisterVideoPostPlugin(12, "Post", 0, allocPost, "", 0, 0);
  RegisterCommandPlugin(13, "Two", 0, nullptr, "", new Command("two"));
  return TRUE;
}
void linkedEnd() {
  say("end in " + GeGetPluginPath().GetString().GetUTF8());
}
Bool saysNo(LONG /*id*/, void* /*data*/) {
  return FALSE;
}
Bool throwsUp() {
  throw std::runtime_error("bad start");
}

TEST_F(PluginTest, ALinkedPluginStartsRunsAndEndsInOrder) {
  options.linkedPlugins = {{"linked", "/p/linked", linkedMessage, linkedStart, linkedEnd}};
  startHost();
  EXPECT_EQ(lines, (std::vector<std::string>{"message 1 in /p/linked", "start in /p/linked"}));
  EXPECT_EQ(GeGetPluginPath(), Filename());
  lines.clear();
  CallCommand(11);
  EXPECT_EQ(lines, std::vector<std::string>{"execute one in /p/linked"});
  const auto post = program().registry().makeVideoPostData(12);
  EXPECT_EQ(static_cast<Post&>(*post).folder, Filename("/p/linked"));
  lines.clear();
  stopHost();
  EXPECT_EQ(lines, (std::vector<std::string>{"end in /p/linked", "destroy two in /p/linked",
                                             "destroy one in /p/linked"}));
}

TEST_F(PluginTest, AFailedStartLeavesNothingBehind) {
  options.linkedPlugins = {
      {"no", "/p/no", saysNo, linkedStart, linkedEnd},
      {"throws", "/p/throws", linkedMessage, throwsUp, linkedEnd},
      {"late", "/p/late", linkedMessage, [] { return linkedStart(), FALSE; }, linkedEnd},
  };
  startHost();
  EXPECT_TRUE(program().registry().commands(true).empty());
  EXPECT_TRUE(program().loader().units().empty());
  ASSERT_EQ(console.size(), 3u);
  EXPECT_EQ(
      console[0],
      "The plug-in \"/p/no/no\" was not loaded: its initialisation failed. Install it again, or remove it.");
  EXPECT_NE(console[1].find("bad start"), std::string::npos);
  EXPECT_NE(console[2].find("its start failed"), std::string::npos);
  lines.clear();
  stopHost();
  EXPECT_TRUE(lines.empty()) << "no end entry of a plug-in that did not start";
}

TEST_F(PluginTest, ShutsDownInOrder) {
  static int steps = 0; // steps stay registered for the process
  if (steps++ == 0) {
    host::addShutdownStep(host::ShutdownStage::freeDocuments, [] { say("free documents"); });
    host::addShutdownStep(host::ShutdownStage::closeDialogs, [] { say("close dialogs"); });
  }
  options.linkedPlugins = {{"linked", "/p", linkedMessage, linkedStart, linkedEnd}};
  startHost();
  lines.clear();
  program().shutDown();
  program().shutDown();
  EXPECT_EQ(lines, (std::vector<std::string>{"close dialogs", "free documents", "end in /p",
                                             "destroy two in /p", "destroy one in /p"}));
}

#ifdef LUMENARA_TEST_MODULES
class ModuleTest : public PluginTest {
 protected:
  ModuleTest() { options.loadModules = true; }
  // Copies a module to a plug-in folder below the program or the home.
  void install(const char* module, const char* place, const char* name) {
    const Filename target = folder.makeFolder((std::string(place) + "/plugins/" + name).c_str());
    const std::string file = std::string(module) + "." + host::platform::moduleSuffix();
    ASSERT_TRUE(GeFCopyFile(Filename(LUMENARA_TEST_MODULES) + file.c_str(), target + file.c_str(), TRUE))
        << file;
  }
};

TEST_F(ModuleTest, LoadsFromBothPlacesAndCallsTheEntriesInOrder) {
  install("other", "home", "zz");
  install("good", "program", "first");
  folder.makeFolder("home/plugins/data of a plug-in");
  folder.write("home/plugins/data/file.txt");
  folder.write("program/plugins/loose.so", "not in a folder");
  startHost();
  EXPECT_EQ(console, (std::vector<std::string>{"module 1 initialised in first", "module 1 started in first",
                                               "module 2 initialised in zz", "module 2 started in zz"}));
  console.clear();
  CallCommand(1000102);
  CallCommand(1000101);
  EXPECT_EQ(console, (std::vector<std::string>{"module 2 executed in zz", "module 1 executed in first"}));
  console.clear();
  stopHost();
  EXPECT_EQ(console, (std::vector<std::string>{"module 2 ended in zz", "module 1 ended in first",
                                               "module 2 destroyed in zz", "module 1 destroyed in first"}));
}

TEST_F(ModuleTest, OneThatDoesNotLoadIsOneLineAndTheRestWorks) {
  folder.write("home/plugins/a/text.so", "this is no module");
  install("no_entries", "home", "b");
  install("unresolved", "home", "c");
  install("good", "home", "d");
  startHost();
  ASSERT_EQ(console.size(), 5u);
  EXPECT_NE(console[0].find("a/text.so\" was not loaded: "), std::string::npos);
  EXPECT_NE(console[1].find("b/no_entries.so\" was not loaded: it lacks the entry points"),
            std::string::npos);
  EXPECT_NE(console[2].find("nobodyDefinesThis"), std::string::npos) << console[2];
  EXPECT_EQ(console[3], "module 1 initialised in d");
  EXPECT_EQ(program().registry().commands().size(), 1u);
}

TEST_F(ModuleTest, OneThatDeclinesOrFailsIsUnloaded) {
  install("declines", "home", "a");
  install("fails_to_start", "home", "b");
  install("throws", "home", "c");
  startHost();
  const std::vector<std::string> expected = {"module 3 initialised in a",
                                             "declines",
                                             "module 4 initialised in b",
                                             "module 4 started in b",
                                             "module 4 destroyed in b",
                                             "fails_to_start",
                                             "module 5 initialised in c",
                                             "module 5 started in c",
                                             "throws"};
  ASSERT_EQ(console.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_NE(console[i].find(expected[i]), std::string::npos) << console[i];
  EXPECT_TRUE(program().registry().commands(true).empty());
  console.clear();
  stopHost();
  EXPECT_TRUE(console.empty());
}

TEST_F(ModuleTest, AFolderOfALinkedPluginIsNotLoadedAgain) {
  install("good", "program", "mine");
  options.linkedPlugins = {
      {"linked", folder / "program/plugins/mine", linkedMessage, linkedStart, linkedEnd}};
  startHost();
  EXPECT_TRUE(console.empty());
  EXPECT_EQ(program().loader().units().size(), 1u);
}
#endif

TEST_F(PluginTest, ProgramsKnowTheirPaths) {
  startHost();
  EXPECT_EQ(GeGetStartupPath(), folder / "program");
  EXPECT_EQ(GeGetStartupWritePath(), home());
  EXPECT_TRUE(GeFExist(home(), TRUE)) << "made at the start";
  EXPECT_EQ(GeGetCPUCount(), 2);
  stopHost();
  EXPECT_EQ(GeGetStartupPath(), Filename());
}

TEST_F(PluginTest, TheHomeComesFromTheOptionTheEnvironmentOrTheUser) {
  const char* before = std::getenv("LUMENARA_HOME");
  const std::string kept = before ? before : "";
  setenv("LUMENARA_HOME", (folder / "env").GetString().GetUTF8().c_str(), 1);
  options.home = Filename();
  startHost();
  EXPECT_EQ(GeGetStartupWritePath(), folder / "env");
  unsetenv("LUMENARA_HOME");
  setenv("XDG_DATA_HOME", (folder / "data").GetString().GetUTF8().c_str(), 1);
  startHost();
  EXPECT_EQ(GeGetStartupWritePath(), folder / "data/Lumenara Studio");
  unsetenv("XDG_DATA_HOME");
  if (before) setenv("LUMENARA_HOME", kept.c_str(), 1);
}

TEST_F(PluginTest, RunsUntilItIsToldToQuit) {
  startHost();
  host::mainLoop().post([this] { program().quit(3); });
  EXPECT_EQ(program().run(), 3);
}

TEST_F(PluginTest, ResourcesMustBeThereAndReadable) {
  folder.write("res/gui/lm.tif", "x");
  folder.write("res/strings.txt");
  GeResource resource;
  EXPECT_TRUE(resource.Init(folder / "res"));
  EXPECT_EQ(resource.GetFolder(), folder / "res");
  EXPECT_FALSE(resource.Init(folder / "none"));
  EXPECT_FALSE(resource.Init(folder / "res/strings.txt")) << "a file is not a folder";
}

} // namespace
