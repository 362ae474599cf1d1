// Files of site defaults: values, order, damage.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "host_fixture.h"
#include "setting_table.h"
#include "site_defaults.h"

using host::SiteDefaults;

namespace {

class SiteDefaultsTest : public HostFixture {
 protected:
  SiteDefaultsTest() {
    for (const char* name : names) {
      const char* value = std::getenv(name);
      before_.emplace_back(value ? std::optional<std::string>(value) : std::nullopt);
      unsetenv(name);
    }
    setenv("XDG_CONFIG_HOME", (folder / "config").GetString().GetUTF8().c_str(), 1);
    setenv("XDG_CONFIG_DIRS", "/nowhere", 1);
  }
  ~SiteDefaultsTest() override {
    for (std::size_t i = 0; i < before_.size(); ++i)
      if (before_[i])
        setenv(names[i], before_[i]->c_str(), 1);
      else
        unsetenv(names[i]);
  }

  Filename write(const Filename& file, const std::string& text) {
    GeFCreateDirRec(file.GetDirectory());
    std::ofstream(file.GetString().GetUTF8(), std::ios::binary) << text;
    return file;
  }
  static std::string withSettings(const std::string& settings) {
    return "{\"format\": \"Lumenara defaults\",\n\"version\": 1,\n\"settings\": {" + settings + "}}\n";
  }
  SiteDefaults read(const std::string& text) {
    SiteDefaults defaults;
    host::readSiteDefaults(write(folder / "one.json", text), defaults);
    return defaults;
  }

 private:
  static constexpr const char* names[] = {"LUMENARA_DEFAULTS", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"};
  std::vector<std::optional<std::string>> before_;
};

TEST_F(SiteDefaultsTest, ValuesOfEveryType) {
  const SiteDefaults read = this->read(withSettings(
      "\"opt.anti-aliasing\": 2, \"20065\": false, \"opt.lod\": 0.5, \"Stamp.Text1\": \"Studio\", "
      "\"anaglyph.left\": [0, 0.5, 1]"));
  EXPECT_TRUE(read.faults.empty()) << read.faults.front();
  EXPECT_EQ(read.values.GetCount(), 5);
  EXPECT_EQ(read.values.GetLong(15004, -1), 2);
  EXPECT_EQ(read.values.GetLong(20065, -1), 0);
  EXPECT_EQ(read.values.GetReal(15043, -1), 0.5);
  EXPECT_EQ(read.values.GetString(host::findSettingName("stamp.text1")->key).GetUTF8(), "Studio");
  EXPECT_EQ(read.values.GetVector(host::findSettingName("anaglyph.left")->key), Vector(0, 0.5, 1));
  EXPECT_EQ(read.origins.at(15004).GetFileString().GetUTF8(), "one.json");
}

TEST_F(SiteDefaultsTest, AnEmptyFileHasNone) {
  const SiteDefaults read = this->read(" \n");
  EXPECT_EQ(read.values.GetCount(), 0);
  EXPECT_TRUE(read.faults.empty());
}

TEST_F(SiteDefaultsTest, InvalidEntriesCostThemselvesAlone) {
  const SiteDefaults read = this->read(withSettings(
      "\n\"opt.gi\": 0,\n\"opt.shadow\": 1,\n\"opt.ao\": \"no\",\n\"opt.caustics\": 3000000000"));
  EXPECT_EQ(read.values.GetCount(), 1);
  EXPECT_EQ(read.values.GetLong(15014, -1), 0);
  ASSERT_EQ(read.faults.size(), 1u);
  EXPECT_NE(read.faults[0].find("one.json:5: there is no setting \"opt.shadow\""), std::string::npos)
      << read.faults[0];
  EXPECT_NE(read.faults[0].find("and 2 other entries"), std::string::npos) << read.faults[0];
}

TEST_F(SiteDefaultsTest, ATextThatIsNotJsonNamesItsLine) {
  const SiteDefaults read = this->read(withSettings("\"opt.gi\": 0,\n\"opt.ao\": 1,\n\"opt.caustics\" 0\n"));
  EXPECT_EQ(read.values.GetCount(), 0);
  ASSERT_EQ(read.faults.size(), 1u);
  EXPECT_NE(read.faults[0].find("one.json:5: this is not JSON"), std::string::npos) << read.faults[0];
}

TEST_F(SiteDefaultsTest, OtherFilesAreRefused) {
  for (const char* text :
       {"[]", "{}", "{\"format\": \"Lumenara preferences\", \"version\": 1, \"settings\": {}}",
        "{\"format\": \"Lumenara defaults\", \"version\": 2, \"settings\": {}}",
        "{\"format\": \"Lumenara defaults\", \"version\": 1, \"settings\": 3}"}) {
    const SiteDefaults read = this->read(text);
    ASSERT_EQ(read.faults.size(), 1u) << text;
    EXPECT_NE(read.faults[0].find(":1: this is not a file of defaults"), std::string::npos) << read.faults[0];
  }
}

TEST_F(SiteDefaultsTest, TheNearerFileWins) {
  const Filename place = folder / "program";
  write(place + "defaults.json", withSettings("\"opt.gi\": 0, \"opt.ao\": 0, \"opt.caustics\": 0"));
  write(folder / "all" + "lumenara" + "defaults.json", withSettings("\"opt.ao\": 1, \"opt.caustics\": 1"));
  write(folder / "config" + "lumenara" + "defaults.json", withSettings("\"opt.caustics\": 0"));
  setenv("XDG_CONFIG_DIRS", (folder / "all").GetString().GetUTF8().c_str(), 1);
  SiteDefaults all = host::allSiteDefaults(place);
  EXPECT_EQ(all.values.GetLong(15014, -1), 0);
  EXPECT_EQ(all.values.GetLong(15015, -1), 1);
  EXPECT_EQ(all.values.GetLong(15016, -1), 0);
  EXPECT_EQ(all.origins.at(15016), folder / "config" + "lumenara" + "defaults.json");

  setenv("LUMENARA_DEFAULTS",
         write(folder / "own.json", withSettings("\"opt.gi\": 1")).GetString().GetUTF8().c_str(), 1);
  all = host::allSiteDefaults(place);
  EXPECT_EQ(all.values.GetCount(), 1) << "the named file replaces the others";
  EXPECT_EQ(all.values.GetLong(15014, -1), 1);

  setenv("LUMENARA_DEFAULTS", (folder / "missing.json").GetString().GetUTF8().c_str(), 1);
  all = host::allSiteDefaults(place);
  ASSERT_EQ(all.faults.size(), 1u);
  EXPECT_NE(all.faults[0].find("missing.json: the file is not there"), std::string::npos) << all.faults[0];
}

TEST_F(SiteDefaultsTest, OnlyANewHomeTakesThem) {
  write(folder / "program" + "defaults.json", withSettings("\"opt.gi\": 0, \"opt.nothing\": 0"));
  startHost();
  ASSERT_NE(GetWorldPluginData(host::viewerSettings), nullptr);
  EXPECT_EQ(GetWorldPluginData(host::viewerSettings)->GetLong(15014, -1), 0);
  runAll();
  EXPECT_EQ(std::count_if(console.begin(), console.end(),
                          [](const std::string& line) { return line.find("Site defaults, ") == 0; }),
            1);
  EXPECT_EQ(program().preferences().writeCount(), 0) << "reading alone writes nothing";
  BaseContainer change;
  change.SetLong(15015, 0);
  EXPECT_TRUE(SetWorldPluginData(host::viewerSettings, change, TRUE));

  write(folder / "program" + "defaults.json", withSettings("\"opt.gi\": 1, \"opt.caustics\": 0"));
  startHost();
  const BaseContainer* stored = GetWorldPluginData(host::viewerSettings);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetLong(15014, -1), 0) << "written with the first change";
  EXPECT_EQ(stored->GetLong(15015, -1), 0);
  EXPECT_EQ(stored->FindIndex(15016), NOTOK);
}

} // namespace
