// `lumenara settings`.
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

class Settings : public testing::Test {
 protected:
  Outcome settings(const Arguments& more) {
    Arguments arguments{"settings"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder / "home");
  }
  std::string get(const std::string& key) {
    const Outcome outcome = settings({"get", key});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return outcome.out;
  }
  void set(const std::string& key, const std::string& value) {
    const Outcome outcome = settings({"set", key, value});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
  }
  /// The files in the home with this end of the name.
  std::vector<fs::path> homeFiles(const std::string& ending) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder / "home")) {
      const std::string name = entry.path().filename().string();
      if (name.size() >= ending.size() &&
          name.compare(name.size() - ending.size(), ending.size(), ending) == 0) {
        found.push_back(entry.path());
      }
    }
    return found;
  }

  TempFolder folder;
};

TEST_F(Settings, PresetsStoreTheirOptimizationsAlone) {
  set("opt.engine", "1");
  const Outcome draft = settings({"preset", "draft"});
  EXPECT_EQ(draft.code, 0) << draft.err;
  EXPECT_EQ(get("opt.gi"), "0\n");
  EXPECT_EQ(get("opt.lod"), "0.5\n");
  EXPECT_EQ(get("opt.engine"), "1\n") << "no part of presets";
  EXPECT_EQ(settings({"preset", "final"}).code, 0);
  EXPECT_EQ(get("opt.gi"), "1\n");
  EXPECT_EQ(get("opt.anti-aliasing"), "2\n");
  const Outcome unknown = settings({"preset", "finest"});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_NE(unknown.err.find("final"), std::string::npos) << unknown.err;
  EXPECT_EQ(get("opt.anti-aliasing"), "2\n");
}

TEST_F(Settings, DefaultsAtFirst) {
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "250\n");
  EXPECT_EQ(get("20005"), "250\n");
  EXPECT_EQ(get("LM_ASPECT"), "1.333334\n");
  EXPECT_EQ(get("LM_STAMP_TEXT1"), "Custom Text\n");
  EXPECT_EQ(get("LM_ANAGLYPH_RIGHT"), "0,1,1\n");
  EXPECT_EQ(get("LM_OPT_15008"), "2\n");
  EXPECT_EQ(get("LM_OPT_ENGINE"), "0\n");
  EXPECT_EQ(get("LM_STEREO_LEFT_CAMERA"), "\n") << "a key without a default";
}

TEST_F(Settings, ListHasEveryKeyOnce) {
  const Outcome outcome = settings({"list"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  std::istringstream in(outcome.out);
  std::vector<int> numbers;
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    int number = 0;
    std::string name, kind;
    ASSERT_TRUE(fields >> number >> name >> kind) << line;
    EXPECT_EQ(name.rfind("LM_", 0), 0u) << line;
    EXPECT_TRUE(kind == "long" || kind == "real" || kind == "string" || kind == "filename" ||
                kind == "vector" || kind == "container")
        << line;
    if (!numbers.empty()) {
      EXPECT_GT(number, numbers.back()) << "in the order of the numbers";
    }
    numbers.push_back(number);
  }
  EXPECT_EQ(numbers.size(), 115u);
  EXPECT_NE(outcome.out.find(
                "20005 LM_REFRESH_DELAY         long      250\t250\t0..5000\tDelay between refreshes (ms)\n"),
            std::string::npos)
      << outcome.out;
}

TEST_F(Settings, ListShowsDefaultsRangesAndLabels) {
  set("LM_STAMP_DATE", "1");
  const std::string all = settings({"list"}).out;
  const auto line = [&](const std::string& name) {
    const std::size_t start = all.find(" " + name + " ");
    return start == std::string::npos ? name + " is missing"
                                      : all.substr(start, all.find('\n', start) - start);
  };
  const auto endsWith = [&](const std::string& name, const std::string& end) {
    const std::string text = line(name);
    EXPECT_EQ(text.substr(text.size() - std::min(text.size(), end.size())), end);
  };
  endsWith("LM_STAMP_DATE", " 1\t0\t0..1\tDate and time");
  endsWith("LM_ZOOM_STEP", " 0.1\t0.1\t1..20 %\tZoom step");
  endsWith("LM_STAMP_DATE_V", " 2\t2\t0 Top, 1 Middle, 2 Bottom\tDate and time: place down");
  endsWith("LM_OPT_15004", " 0\t0\t0 None, 1 Edges of objects, 2 Best\tAnti-aliasing");
  endsWith("LM_STEREO_SEPARATION", " 0\t0\t-100..100\tEye separation");
  endsWith("LM_STAMP_TEXT1", " Custom Text\tCustom Text\t\tText 1: words");
  endsWith("LM_ANIM_STEP", " 1\t1\t1..999\tFrame Step");
  endsWith("LM_ANIM_STAMP", " \t\t0..1\tStamp Frames");
  endsWith("LM_ANIM_JPEG_QUALITY", " \t\t0..100\tJPEG Quality");
  endsWith("LM_ANIM_PHOTOSHOP7", " \t\t0..1\tPhotoshop 7");
  endsWith("LM_ENABLED", " 0\t0\t0..1\tEnabled");
  endsWith("LM_MODE", " 1103\t1103\t1103 Normal, 1104 Region, 1105 Compare\tMode");
  endsWith("LM_ASPECT", " 1.333334\t1.333334\t\tWidth to height of the picture");
  endsWith("LM_REGION_SHOWN", "\t\t0..1\tRegion box in the editor view");
  // Every setting has a label.
  std::istringstream in(all);
  for (std::string one; std::getline(in, one);)
    EXPECT_NE(one.back(), '\t') << one;
}

TEST_F(Settings, EveryKindComesBackFromTheNextRun) {
  set("LM_REFRESH_DELAY", "12");
  set("LM_ASPECT", "0.1");
  set("20057", "0.25,-1e-3,3");
  set("LM_STAMP_TEXT1", "Größe = \"1, 2\"");
  set("LM_ANIM_FILE", "/tmp/a b.mov");
  set("LM_STEREO_SEPARATION", "-0.5");
  EXPECT_EQ(get("20005"), "12\n");
  EXPECT_EQ(get("10004"), "0.1\n");
  EXPECT_EQ(get("LM_ANAGLYPH_LEFT"), "0.25,-0.001,3\n");
  EXPECT_EQ(get("LM_STAMP_TEXT1"), "Größe = \"1, 2\"\n");
  EXPECT_EQ(get("LM_ANIM_FILE"), "/tmp/a b.mov\n");
  EXPECT_EQ(get("LM_STEREO_SEPARATION"), "-0.5\n");
  EXPECT_EQ(get("LM_HISTORY_SIZE"), "10\n") << "the others keep their defaults";
}

TEST_F(Settings, ARenderKeepsThem) {
  set("LM_REFRESH_DELAY", "777");
  set("LM_OPT_ENGINE", "1");
  const Outcome outcome = run(
      {"render", writeTinyScene(folder.path()), "-o", folder / "p.png", "--size", "16x16", "--samples", "1"},
      folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "777\n");
  EXPECT_EQ(get("LM_OPT_ENGINE"), "1\n");
}

// Values stored during a render stay after its end.
TEST_F(Settings, AreKeptWhenTheyChangeDuringARender) {
  const std::string demo = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  if (!fs::exists(demo)) GTEST_SKIP() << demo << " is not there";
  set("LM_HISTORY_SIZE", "3");
  Child render({"render", demo, "-o", folder / "p.png", "--size", "640x360", "--samples", "100000"},
               folder / "home", {}, true);
  ASSERT_TRUE(render.waitForError("Rendering ", std::chrono::seconds(60))) << render.errors();
  set("LM_HISTORY_SIZE", "4");
  set("LM_REFRESH_DELAY", "5");
  render.send(SIGINT);
  ASSERT_EQ(render.wait().code, 130);
  EXPECT_EQ(get("LM_HISTORY_SIZE"), "4\n");
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "5\n");
}

TEST_F(Settings, HomeOptionWinsOverTheEnvironment) {
  ASSERT_EQ(settings({"set", "LM_HISTORY_SIZE", "3", "--home", folder / "other"}).code, 0);
  EXPECT_EQ(get("LM_HISTORY_SIZE"), "10\n");
  EXPECT_EQ(settings({"get", "LM_HISTORY_SIZE", "--home", folder / "other"}).out, "3\n");
  EXPECT_EQ(settings({"--home", folder / "other", "get", "LM_HISTORY_SIZE"}).out, "3\n");
}

// The next start applies the marker and deletes it.
TEST_F(Settings, ResetWaitsForTheNextStart) {
  set("LM_REFRESH_DELAY", "777");
  ASSERT_EQ(settings({"reset"}).code, 0);
  ASSERT_EQ(homeFiles("reset.lm").size(), 1u);
  EXPECT_EQ(homeFiles("reset.lm")[0], fs::path(folder / "home") / "plugins" / "Lumenara" / "reset.lm");
  const Outcome next = settings({"get", "LM_REFRESH_DELAY"});
  EXPECT_EQ(next.out, "250\n");
  EXPECT_EQ(linesWith(next.err, "Your Lumenara settings have been reset."), 1) << next.err;
  EXPECT_TRUE(homeFiles("reset.lm").empty());
  EXPECT_EQ(settings({"get", "LM_REFRESH_DELAY"}).err, "") << "told once";
}

TEST_F(Settings, ResetIsAppliedByARender) {
  set("LM_REFRESH_DELAY", "777");
  ASSERT_EQ(settings({"reset"}).code, 0);
  const Outcome render = run(
      {"render", writeTinyScene(folder.path()), "-o", folder / "p.png", "--size", "16x16", "--samples", "1"},
      folder / "home");
  ASSERT_EQ(render.code, 0) << render.err;
  EXPECT_EQ(linesWith(render.err, "Your Lumenara settings have been reset."), 1) << render.err;
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "250\n");
}

TEST_F(Settings, WrongKeysAndValuesAreRefused) {
  const std::vector<Arguments> wrong{{"get", "LM_NOTHING"},
                                     {"get", "1"},
                                     {"get", "lm_refresh_delay"},
                                     {"set", "LM_NOTHING", "1"},
                                     {"set", "LM_REFRESH_DELAY", "fast"},
                                     {"set", "LM_REFRESH_DELAY", "1.5"},
                                     {"set", "LM_REFRESH_DELAY", "99999999999"},
                                     {"set", "LM_REFRESH_DELAY", ""},
                                     {"set", "LM_ASPECT", "1,5"},
                                     {"set", "LM_ASPECT", "nan"},
                                     {"set", "LM_ASPECT", "1e999"},
                                     {"set", "LM_ANAGLYPH_LEFT", "1,2"},
                                     {"set", "LM_ANAGLYPH_LEFT", "1,2,3,4"},
                                     {"set", "LM_ANIM_MOVIE_OPTIONS", "1"},
                                     {"set", "LM_REFRESH_DELAY"},
                                     {"get"},
                                     {"forget"},
                                     {}};
  for (const Arguments& arguments : wrong) {
    const Outcome outcome = settings(arguments);
    std::string text;
    for (const std::string& argument : arguments)
      text += argument + " ";
    EXPECT_EQ(outcome.code, 2) << text << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << text << outcome.err;
    EXPECT_EQ(outcome.out, "") << text;
  }
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "250\n");
}

TEST_F(Settings, ValuesOutsideOfASettingsRangeAreRefused) {
  set("LM_STAMP_DATE_V", "0");
  struct Wrong {
    std::string key, value, told;
  };
  const std::vector<Wrong> wrong{
      {"LM_STAMP_DATE_V", "99", "0 Top, 1 Middle, 2 Bottom"},
      {"LM_STAMP_DATE_V", "-1", "0 Top, 1 Middle, 2 Bottom"},
      {"LM_OPT_15004", "3", "0 None, 1 Edges of objects, 2 Best"},
      {"LM_MODE", "2", "1103 Normal, 1104 Region, 1105 Compare"},
      {"LM_STAMP_DATE", "2", "0..1"},
      {"LM_ENABLED", "-1", "0..1"},
      {"LM_REFRESH_DELAY", "5001", "0..5000"},
      {"LM_REFRESH_DELAY", "-1", "0..5000"},
      {"LM_HISTORY_SIZE", "1", "2..50"},
      {"LM_STEREO_SEPARATION", "100.5", "-100..100"},
      {"LM_ZOOM_STEP", "20", "0.01..0.2 (1..20 %)"},
      {"LM_OPT_LOD", "1.01", "0..1 (0..100 %)"},
      {"LM_ANIM_JPEG_QUALITY", "101", "0..100"},
  };
  for (const Wrong& one : wrong) {
    const Outcome outcome = settings({"set", one.key, one.value});
    EXPECT_EQ(outcome.code, 2) << one.key;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    for (const std::string& part : {one.key, "\"" + one.value + "\"", "which takes " + one.told})
      EXPECT_NE(outcome.err.find(part), std::string::npos) << part << " in " << outcome.err;
  }
  EXPECT_EQ(get("LM_STAMP_DATE_V"), "0\n");
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "250\n");
  // The ends of each range.
  for (const auto& [key, value] :
       std::vector<std::pair<std::string, std::string>>{{"LM_STAMP_DATE_V", "2"},
                                                        {"LM_REFRESH_DELAY", "0"},
                                                        {"LM_REFRESH_DELAY", "5000"},
                                                        {"LM_ZOOM_STEP", "0.01"},
                                                        {"LM_ZOOM_STEP", "0.2"},
                                                        {"LM_OPT_LOD", "0"},
                                                        {"LM_OPT_LOD", "1"},
                                                        {"LM_STEREO_SCALE", "10"}})
    set(key, value);
}

// Every default, and every value that `list` shows, can be set.
TEST_F(Settings, EveryListedDefaultMayBeSet) {
  std::istringstream in(settings({"list"}).out);
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    std::string number, name, kind;
    fields >> number >> name >> kind;
    const std::size_t first = line.find('\t'), second = line.find('\t', first + 1);
    const std::string preset = line.substr(first + 1, second - first - 1);
    if (kind == "container" || preset.empty()) continue;
    const Outcome outcome = settings({"set", name, preset});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
  }
}

// Programs that store at the same time lose nothing of each other.
TEST_F(Settings, ProgramsAtTheSameTimeKeepEachOthersValues) {
  const std::vector<std::string> keys{"LM_REFRESH_DELAY", "LM_MIN_WIDTH", "LM_MIN_HEIGHT",
                                      "LM_ANIM_FROM",     "LM_ANIM_TO",   "LM_STAMP_TEXT1"};
  for (int round = 1; round <= 3; ++round) {
    std::vector<std::unique_ptr<Child>> children;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const std::string value = std::to_string(1000 * round + static_cast<int>(i));
      children.push_back(
          std::make_unique<Child>(Arguments{"settings", "set", keys[i], value}, folder / "home"));
    }
    for (const auto& child : children) {
      const Outcome outcome = child->wait();
      EXPECT_EQ(outcome.code, 0) << outcome.err;
    }
    const std::string all = settings({"list"}).out;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const std::string value = " " + std::to_string(1000 * round + static_cast<int>(i)) + "\t";
      const std::size_t line = all.find(" " + keys[i] + " ");
      ASSERT_NE(line, std::string::npos) << keys[i];
      EXPECT_NE(all.substr(line, all.find('\n', line) + 1 - line).find(value), std::string::npos) << keys[i];
    }
  }
}

// A damaged file is kept and reported in one line, and the defaults apply.
TEST_F(Settings, DamagedPreferencesAreKeptAside) {
  set("LM_REFRESH_DELAY", "777");
  const auto files = homeFiles("preferences.json");
  ASSERT_EQ(files.size(), 1u);
  const std::string damaged = readFile(files[0]).substr(0, 40) + "\x01 and so on";
  writeFile(files[0], damaged);

  const Outcome outcome = settings({"get", "LM_REFRESH_DELAY"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "250\n");
  EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
  EXPECT_NE(outcome.err.find(".damaged"), std::string::npos) << outcome.err;
  ASSERT_EQ(homeFiles(".damaged").size(), 1u);
  EXPECT_EQ(readFile(homeFiles(".damaged")[0]), damaged);

  set("LM_REFRESH_DELAY", "5");
  EXPECT_EQ(get("LM_REFRESH_DELAY"), "5\n") << "the next file works";
}

TEST_F(Settings, ARenderLivesWithDamagedPreferences) {
  fs::create_directories(folder / "home");
  writeFile(fs::path(folder / "home") / "preferences.json", "{{{{");
  const Outcome outcome = run(
      {"render", writeTinyScene(folder.path()), "-o", folder / "p.png", "--size", "16x16", "--samples", "1"},
      folder / "home");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(linesWith(outcome.err, ".damaged"), 1) << outcome.err;
  EXPECT_EQ(homeFiles(".damaged").size(), 1u);
}

// A file as home cannot store: exit code 4; a render works without it.
TEST_F(Settings, HomeThatCannotBeMade) {
  writeFile(folder / "home", "a file");
  const Outcome outcome = settings({"set", "LM_REFRESH_DELAY", "1"});
  EXPECT_EQ(outcome.code, 4) << outcome.err;
  EXPECT_NE(outcome.err.find("--home"), std::string::npos) << outcome.err;
  EXPECT_EQ(settings({"reset"}).code, 4);
  const Outcome render = run(
      {"render", writeTinyScene(folder.path()), "-o", folder / "p.png", "--size", "16x16", "--samples", "1"},
      folder / "home");
  EXPECT_EQ(render.code, 0) << render.err;
  EXPECT_EQ(readPicture(folder / "p.png").width, 16);
}

/// A file of site defaults for the programs that a test starts.
class DefaultsFile {
 public:
  DefaultsFile(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text;
    const char* before = std::getenv(variable);
    if (before) before_ = before;
    setenv(variable, file.c_str(), 1);
  }
  ~DefaultsFile() { before_.empty() ? unsetenv(variable) : setenv(variable, before_.c_str(), 1); }
  DefaultsFile(const DefaultsFile&) = delete;
  DefaultsFile& operator=(const DefaultsFile&) = delete;

 private:
  static constexpr const char* variable = "LUMENARA_DEFAULTS";
  std::string before_;
};

std::string lineWith(const std::string& text, const std::string& part) {
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.find(part) != std::string::npos) return line;
  return {};
}

TEST_F(Settings, ANewHomeStartsWithTheSiteDefaults) {
  const fs::path file = folder.path() / "site.json";
  const DefaultsFile site(file, "{\"format\": \"Lumenara defaults\", \"version\": 1, \"settings\": "
                                "{\"opt.anti-aliasing\": 2, \"history.size\": 20}}");
  EXPECT_EQ(get("opt.anti-aliasing"), "2\n");
  set("history.size", "30");
  EXPECT_EQ(get("opt.anti-aliasing"), "2\n");
  const Outcome list = settings({"list", "--origin"});
  ASSERT_EQ(list.code, 0) << list.err;
  const auto origin = [&](const std::string& key) {
    const std::string line = lineWith(list.out, key + " ");
    return line.substr(line.rfind('\t') + 1);
  };
  EXPECT_EQ(origin("LM_OPT_15004"), file.string());
  EXPECT_EQ(origin("LM_HISTORY_SIZE"), "home");
  EXPECT_EQ(origin("LM_OPT_15014"), "plug-in");
}

TEST_F(Settings, ADamagedFileOfDefaultsCostsOneLine) {
  const DefaultsFile site(folder.path() / "site.json", "{\n\"settings\": {,}}");
  const Outcome outcome = settings({"get", "opt.anti-aliasing"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "0\n");
  EXPECT_NE(outcome.err.find("site.json:2: this is not JSON"), std::string::npos) << outcome.err;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
}

TEST_F(Settings, ErrorsSayTheReadableName) {
  const Outcome outcome = settings({"set", "opt.gi", "7"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.err.find("\"7\" is no value for opt.gi (LM_OPT_15014), which takes 0..1"),
            std::string::npos)
      << outcome.err;
}

TEST_F(Settings, ListAndGetAsJson) {
  set("opt.gi", "0");
  const Outcome outcome = settings({"list", "--json", "--origin"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const auto all = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(all.size(), 115u);
  const auto gi =
      std::find_if(all.begin(), all.end(), [](const auto& one) { return one["name"] == "opt.gi"; });
  ASSERT_NE(gi, all.end());
  EXPECT_EQ((*gi)["number"], 15014);
  EXPECT_EQ((*gi)["key"], "LM_OPT_15014");
  EXPECT_EQ((*gi)["value"], 0);
  EXPECT_EQ((*gi)["default"], 1);
  EXPECT_EQ((*gi)["origin"], "home");
  EXPECT_EQ(settings({"get", "anaglyph.right", "--json"}).out, "[0.0,1.0,1.0]\n");
  EXPECT_EQ(settings({"get", "stamp.text1", "--json"}).out, "\"Custom Text\"\n");
}

} // namespace
} // namespace batchtest
