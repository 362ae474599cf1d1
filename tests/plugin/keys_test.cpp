// The keys, their types and their defaults.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "lm_keys.h"

namespace {

BaseContainer defaultsOf(LM_DEFAULT writer) {
  BaseContainer data;
  WriteDefaults(&data, writer);
  return data;
}

std::vector<LONG> idsOf(const BaseContainer& data) {
  std::vector<LONG> ids;
  for (LONG i = 0; data.GetIndexId(i) != -1; ++i)
    ids.push_back(data.GetIndexId(i));
  return ids;
}

const std::map<LONG, LONG> VIEWER_LONGS = {
    {10001, 0}, {10002, 1103}, {20004, 0}, {20005, 250}, {20006, 1},   {20007, 0}, {20011, 1},  {20012, 0},
    {20013, 0}, {20014, 0},    {20015, 0}, {20016, 2},   {20017, 0},   {20019, 2}, {20020, 0},  {20021, 0},
    {20024, 2}, {20025, 2},    {20027, 0}, {20028, 320}, {20029, 240}, {20030, 0}, {20033, 10}, {20035, 1},
    {20037, 2}, {20038, 1},    {20039, 1}, {20041, 0},   {20043, 2},   {20044, 0}, {20045, 0},  {20046, 0},
    {20047, 2}, {20049, 0},    {20050, 0}, {20051, 1},   {20052, 1},   {20053, 0}, {20054, 1},  {20055, 1},
    {20059, 0}, {20060, 0},    {20061, 0}, {20062, 2},   {20063, 0},   {20064, 1}, {20065, 1},  {20066, 0},
    {20067, 1}, {20068, 2},    {14004, 0}, {14005, 0},   {14006, 1},   {14007, 0}, {14008, 0},  {14009, 1},
};

const std::map<LONG, LONG> OPTIMIZATION_LONGS = {
    {15004, 0}, {15006, 0}, {15008, 2}, {15010, 2}, {15012, 2}, {15014, 1}, {15015, 1}, {15016, 1},
    {15017, 1}, {15019, 1}, {15020, 1}, {15021, 1}, {15022, 1}, {15023, 1}, {15024, 1}, {15026, 1},
    {15027, 1}, {15028, 1}, {15029, 1}, {15030, 1}, {15031, 1}, {15032, 1}, {15033, 1}, {15034, 1},
    {15035, 1}, {15036, 1}, {15037, 1}, {15038, 1}, {15039, 1}, {15040, 1}, {15041, 0}, {15042, 1},
    {15046, 1}, {15048, 0}, {15050, 1}, {15052, 0}, {15053, 0},
};

void expectLongs(const BaseContainer& data, const std::map<LONG, LONG>& expected) {
  for (const auto& [key, value] : expected) {
    EXPECT_EQ(data.GetType(key), DA_LONG) << key;
    EXPECT_EQ(data.GetLong(key, -99), value) << key;
  }
}

void expectOptimizationReals(const BaseContainer& data) {
  for (const auto& [key, value] : std::map<LONG, Real>{{15043, 1.0}, {15045, 0.0}, {15055, 1.0}}) {
    EXPECT_EQ(data.GetType(key), DA_REAL) << key;
    EXPECT_EQ(data.GetReal(key, -99), value) << key;
  }
}

TEST(Keys, TheViewerWritesEveryDefaultOfItsTables) {
  const BaseContainer data = defaultsOf(LM_DEFAULT_VIEWER);
  expectLongs(data, VIEWER_LONGS);
  expectLongs(data, OPTIMIZATION_LONGS);
  expectOptimizationReals(data);
  EXPECT_EQ(data.GetReal(10004), 1.333334);
  EXPECT_EQ(data.GetReal(20040), 0.1);
  EXPECT_EQ(data.GetVector(20057), Vector(1, 0, 0));
  EXPECT_EQ(data.GetVector(20058), Vector(0, 1, 1));
  EXPECT_EQ(data.GetString(20018), String("Custom Text"));
  EXPECT_EQ(data.GetString(20042), String("Custom Text"));
  EXPECT_EQ(data.GetType(20022), DA_STRING);
  EXPECT_EQ(data.GetString(20022, "preset"), String());
  EXPECT_EQ(data.GetType(14001), DA_FILENAME);
  EXPECT_FALSE(data.GetFilename(14001, "preset").Content());
  // The keys above and no others.
  EXPECT_EQ(data.GetCount(), static_cast<LONG>(VIEWER_LONGS.size() + OPTIMIZATION_LONGS.size() + 3 + 8));
}

TEST(Keys, SomeHaveNoDefault) {
  const BaseContainer data = defaultsOf(LM_DEFAULT_VIEWER);
  for (const LONG key :
       {10005, 10006, 20071, 20072, 14010, 14011, 14012, 14013, 15057, 15058, 15059, 15060}) {
    EXPECT_EQ(data.FindIndex(key), -1) << key;
  }
}

TEST(Keys, TheOptimizationsDialogWritesTheOptimizationsAndFourMore) {
  const BaseContainer data = defaultsOf(LM_DEFAULT_OPTIMIZE);
  expectLongs(data, OPTIMIZATION_LONGS);
  expectOptimizationReals(data);
  expectLongs(data, {{15057, 0}, {15058, 0}, {15059, 0}, {15060, 0}});
  EXPECT_EQ(data.GetCount(), static_cast<LONG>(OPTIMIZATION_LONGS.size() + 3 + 4));
}

TEST(Keys, AreWrittenInTheirOrder) {
  const std::vector<LONG> ids = idsOf(defaultsOf(LM_DEFAULT_VIEWER));
  const std::vector<LONG> start = {10001, 10002, 10004, 20004, 20005, 20065, 20006, 20007, 20049,
                                   20050, 20051, 20052, 20053, 20054, 20055, 20064, 20011};
  ASSERT_GT(ids.size(), start.size());
  EXPECT_TRUE(std::equal(start.begin(), start.end(), ids.begin()));
  const std::vector<LONG> end = {15053, 15055, 14001, 14004, 14005, 14006, 14007, 14008, 14009};
  EXPECT_TRUE(std::equal(end.rbegin(), end.rend(), ids.rbegin()));
  const auto at = [&](LONG id) { return std::find(ids.begin(), ids.end(), id) - ids.begin(); };
  EXPECT_LT(at(20057), at(20058));
  EXPECT_LT(at(20058), at(20033));
  EXPECT_LT(at(20039), at(15040));
  EXPECT_LT(at(15040), at(15043));
  EXPECT_LT(at(15043), at(15004));
}

TEST(Keys, HaveOneNameEach) {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  std::set<LONG> numbers;
  std::set<std::string> names;
  for (LONG i = 0; i < count; ++i) {
    EXPECT_TRUE(numbers.insert(keys[i].key).second) << keys[i].key;
    EXPECT_TRUE(names.insert(keys[i].name).second) << keys[i].name;
    EXPECT_EQ(std::string(keys[i].name).rfind("LM_", 0), 0u) << keys[i].name;
    if (keys[i].writers != LM_DEFAULT_NONE) {
      EXPECT_EQ(keys[i].value.GetType(), keys[i].type) << keys[i].name;
    }
  }
  EXPECT_EQ(LM_STAMP_DATE_V, 20016);
  EXPECT_EQ(LM_OPT_MAT_15039, 15039);
}

// The resources have the numbers in a file of their own.
TEST(Keys, AreThoseOfTheResources) {
  std::map<std::string, LONG> symbols, expected;
  std::ifstream file(LUMENARA_SOURCE_DIR "/res/c4d_symbols.h");
  const std::regex entry("\\s*(LM_\\w+) = (\\d+),.*");
  std::smatch match;
  for (std::string line; std::getline(file, line);)
    if (std::regex_match(line, match, entry)) symbols[match[1]] = std::stoi(match[2]);
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  for (LONG i = 0; i < count; ++i) {
    const bool inDialog = keys[i].key / 1000 == 15 || keys[i].key / 1000 == 20;
    if (inDialog) expected[keys[i].name] = keys[i].key;
  }
  EXPECT_EQ(symbols, expected);
}

} // namespace
