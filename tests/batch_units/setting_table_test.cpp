// The host's table of settings against the plug-in's.
#include "setting_table.h"

#include <gtest/gtest.h>

#include <set>

#include "lm_keys.h"

TEST(SettingTable, HasEverySettingOfThePlugInWithItsType) {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  EXPECT_EQ(host::settingTable().size(), static_cast<std::size_t>(count));
  EXPECT_EQ(host::viewerSettings, static_cast<LONG>(ID_LUMENARA));
  std::set<std::string> names;
  for (const lmKey* key = keys; key != keys + count; ++key) {
    const host::SettingName* named = host::findSettingName(key->key);
    ASSERT_NE(named, nullptr) << key->name;
    EXPECT_EQ(named->type, key->type) << key->name;
    EXPECT_TRUE(names.insert(named->name).second) << named->name;
    EXPECT_EQ(host::findSettingName(named->name), named);
  }
}
