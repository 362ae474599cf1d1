// Movie options from the settings to the movie saver.
#include <gtest/gtest.h>

#include "lm_thread.h"

namespace {

std::vector<LONG> keysOf(const BaseContainer& data) {
  std::vector<LONG> keys;
  for (LONG index = 0; data.GetIndexId(index) != NOTOK; ++index)
    keys.push_back(data.GetIndexId(index));
  return keys;
}

TEST(MovieChoices, AreTheKeysOfTwoRanges) {
  BaseContainer choices;
  for (LONG key = 9990; key <= 10030; ++key)
    choices.SetLong(key, key - 9000);
  const BaseContainer options = GetMovieOptions(choices);
  EXPECT_EQ(keysOf(options), (std::vector<LONG>{10000, 10001, 10002, 10003, 10004, 10010, 10011, 10012, 10013,
                                                10014, 10015, 10016, 10017, 10018, 10019, 10020}));
  for (const LONG key : keysOf(options))
    EXPECT_EQ(options.GetLong(key), key - 9000);
}

TEST(MovieChoices, AreIntegersOnlyAndCanBeAbsent) {
  BaseContainer choices;
  choices.SetReal(10000, 1.5);
  choices.SetString(10001, "2");
  choices.SetLong(10012, 0);
  EXPECT_EQ(keysOf(GetMovieOptions(choices)), (std::vector<LONG>{10012}));
  EXPECT_EQ(GetMovieOptions(choices).GetLong(10012, -1), 0);
  EXPECT_TRUE(keysOf(GetMovieOptions(BaseContainer())).empty());
}

} // namespace
