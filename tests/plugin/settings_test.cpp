// The settings store: binding, typed values, loading over defaults, saving by merging.
#include <gtest/gtest.h>

#include "lm_keys.h"
#include "lm_settings.h"
#include "plugin_fixture.h"

namespace {

using SettingsTest = PluginFixture;

constexpr LONG KEY = 20005;

TEST_F(SettingsTest, AnUnboundInstanceNeitherSavesNorLoads) {
  BaseContainer stored;
  stored.SetLong(KEY, 5);
  SetWorldPluginData(ID_LUMENARA, stored);

  lmSettings settings;
  settings.SetValue(KEY, 7);
  EXPECT_FALSE(settings.Save());
  EXPECT_FALSE(settings.Load());
  EXPECT_EQ(settings.GetValue(KEY, 0), 7);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(KEY), 5);
}

TEST_F(SettingsTest, WithNothingStoredTheDefaultsStay) {
  lmSettings settings;
  settings.Init(ID_LUMENARA);
  settings.SetValue(KEY, 7);
  EXPECT_FALSE(settings.Load());
  EXPECT_EQ(settings.GetValue(KEY, 0), 7);
  EXPECT_EQ(settings.GetDataInstance()->GetCount(), 1);
}

TEST_F(SettingsTest, AMissingKeyReadsAsThePresetOfTheCall) {
  const lmSettings settings;
  EXPECT_EQ(settings.GetValue(1, static_cast<LONG>(-3)), -3);
  EXPECT_EQ(settings.GetValue(1, static_cast<LLONG>(1) << 40), static_cast<LLONG>(1) << 40);
  EXPECT_EQ(settings.GetValue(1, 2.5), 2.5);
  EXPECT_EQ(settings.GetValue(1, String("text")), String("text"));
  EXPECT_EQ(settings.GetValue(1, Filename("/a/b")), Filename("/a/b"));
  EXPECT_EQ(settings.GetValue(1, LVector(1, 2, 3)), LVector(1, 2, 3));
  EXPECT_EQ(settings.GetContainer(1).GetCount(), 0);
}

TEST_F(SettingsTest, EveryValueIsStoredUnderItsTypeAndReplacesTheOldOne) {
  lmSettings settings;
  BaseContainer nested;
  nested.SetLong(1, 9);
  settings.SetValue(1, 4);
  settings.SetValue(1, 5);
  settings.SetValue(2, static_cast<LLONG>(1) << 40);
  settings.SetValue(3, 0.25);
  settings.SetValue(4, String("text"));
  settings.SetValue(5, Filename("/a/b"));
  settings.SetValue(6, LVector(1, 2, 3));
  settings.SetValue(7, nested);

  const BaseContainer& data = *settings.GetDataInstance();
  const LONG types[] = {DA_LONG, DA_LLONG, DA_REAL, DA_STRING, DA_FILENAME, DA_VECTOR, DA_CONTAINER};
  for (LONG key = 1; key <= 7; ++key)
    EXPECT_EQ(data.GetType(key), types[key - 1]) << key;
  EXPECT_EQ(settings.GetValue(1, 0), 5);
  EXPECT_EQ(settings.GetValue(2, static_cast<LLONG>(0)), static_cast<LLONG>(1) << 40);
  EXPECT_EQ(settings.GetValue(3, 0.0), 0.25);
  EXPECT_EQ(settings.GetValue(4, String()), String("text"));
  EXPECT_EQ(settings.GetValue(5, Filename()), Filename("/a/b"));
  EXPECT_EQ(settings.GetValue(6, LVector()), LVector(1, 2, 3));
  EXPECT_EQ(settings.GetContainer(7), nested);
}

TEST_F(SettingsTest, SettingSavesNothing) {
  lmSettings settings;
  settings.Init(ID_LUMENARA);
  settings.SetValue(KEY, 7);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
}

TEST_F(SettingsTest, GetContainerGivesACopy) {
  lmSettings settings;
  BaseContainer nested;
  nested.SetLong(1, 9);
  settings.SetValue(7, nested);
  BaseContainer copy = settings.GetContainer(7);
  copy.SetLong(1, 10);
  EXPECT_EQ(settings.GetContainer(7).GetLong(1), 9);
}

TEST_F(SettingsTest, LoadCopiesTheSevenTypesOverTheDefaults) {
  BaseContainer nested;
  nested.SetString(1, "inner");
  BaseContainer stored;
  stored.SetString(1, "text");
  stored.SetReal(2, 0.5);
  stored.SetVector(3, Vector(1, 2, 3));
  stored.SetLong(4, 4);
  stored.SetContainer(5, nested);
  stored.SetFilename(6, "/a/b");
  stored.SetBool(7, TRUE);
  SetWorldPluginData(ID_LUMENARA, stored);

  lmSettings settings;
  settings.Init(ID_LUMENARA);
  settings.SetValue(4, 40);
  settings.SetValue(8, 80);
  ASSERT_TRUE(settings.Load());

  for (LONG key = 1; key <= 7; ++key) {
    EXPECT_EQ(settings.GetDataInstance()->GetData(key), stored.GetData(key)) << key;
  }
  EXPECT_EQ(settings.GetValue(8, 0), 80);
}

TEST_F(SettingsTest, LoadSkipsValuesOfOtherTypes) {
  BaseContainer stored;
  stored.SetTime(KEY, BaseTime(1, 2));
  stored.SetLLong(1, 5);
  stored.SetMatrix(2, Matrix());
  const char bytes[] = {1, 2};
  stored.SetMemory(3, bytes, sizeof(bytes));
  SetWorldPluginData(ID_LUMENARA, stored);

  lmSettings settings;
  settings.Init(ID_LUMENARA);
  settings.SetValue(KEY, 250);
  EXPECT_TRUE(settings.Load());
  EXPECT_EQ(settings.GetDataInstance()->GetType(KEY), DA_LONG);
  EXPECT_EQ(settings.GetValue(KEY, 0), 250);
  for (LONG key = 1; key <= 3; ++key)
    EXPECT_EQ(settings.GetDataInstance()->GetType(key), DA_NIL) << key;
}

TEST_F(SettingsTest, SaveMergesAndKeepsOtherStoredKeys) {
  BaseContainer stored;
  stored.SetLong(1, 1);
  stored.SetLong(2, 2);
  SetWorldPluginData(ID_LUMENARA, stored);

  lmSettings settings;
  settings.Init(ID_LUMENARA);
  settings.SetValue(2, 20);
  settings.SetValue(3, 30);
  EXPECT_TRUE(settings.Save());

  const BaseContainer& after = *GetWorldPluginData(ID_LUMENARA);
  EXPECT_EQ(after.GetLong(1), 1);
  EXPECT_EQ(after.GetLong(2), 20);
  EXPECT_EQ(after.GetLong(3), 30);
}

TEST_F(SettingsTest, TwoInstancesMeetOnlyThroughLoadAndTheLaterSaveWins) {
  lmSettings first, second;
  first.Init(ID_LUMENARA);
  second.Init(ID_LUMENARA);
  first.SetValue(1, 1);
  first.SetValue(2, 1);
  second.SetValue(2, 2);

  first.SetValue(1, 10);
  EXPECT_TRUE(first.Save());
  EXPECT_EQ(second.GetValue(1, -1), -1);
  EXPECT_TRUE(second.Save());
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(2), 2);
  EXPECT_TRUE(second.Load());
  EXPECT_EQ(second.GetValue(1, -1), 10);
  EXPECT_EQ(first.GetValue(2, -1), 1);
}

TEST_F(SettingsTest, AKeyAddedLaterKeepsItsDefaultOverAnOldStore) {
  BaseContainer stored;
  stored.SetLong(LM_REFRESH_DELAY, 900);
  SetWorldPluginData(ID_LUMENARA, stored);
  lmSettings settings;
  settings.Init(ID_LUMENARA);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  ASSERT_TRUE(settings.Load());
  EXPECT_EQ(settings.GetValue(LM_REFRESH_DELAY, 0), 900);
  EXPECT_EQ(settings.GetValue(LM_HISTORY_SIZE, 0), 10);
}

} // namespace
