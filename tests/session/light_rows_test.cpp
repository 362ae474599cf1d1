// The table of lights.
#include "light_rows.h"

#include "light_source.h"
#include "session_fixture.h"

namespace {

using namespace host;

class LightRowsTest : public SessionFixture {
 protected:
  LightRowsTest() { openScene(); }
};

TEST_F(LightRowsTest, EachKindHasItsCells) {
  const std::size_t before = lightRows(document()).size();
  for (const LONG kind : {0, 1, 2, 3, 4})
    newLight(document(), kind);
  const std::vector<LightRow> rows = lightRows(document());
  ASSERT_EQ(rows.size(), before + 5);
  const auto has = [&](std::size_t kind, LightColumn column) { return rows[before + kind].cell(column).id; };
  EXPECT_EQ(has(0, LightColumn::size), AttributeId::lightRadius);
  EXPECT_EQ(has(1, LightColumn::reach), AttributeId::lightReach);
  EXPECT_EQ(has(2, LightColumn::size), AttributeId::lightAngle);
  EXPECT_EQ(has(2, LightColumn::reach), AttributeId::none);
  EXPECT_EQ(has(3, LightColumn::size), AttributeId::lightWidth);
  EXPECT_EQ(has(3, LightColumn::height), AttributeId::lightHeight);
  EXPECT_EQ(has(4, LightColumn::height), AttributeId::none);
  EXPECT_STREQ(rows[before].cell(LightColumn::intensity).unit, "cd");
  EXPECT_STREQ(rows[before + 2].cell(LightColumn::intensity).unit, "lx");
  EXPECT_TRUE(rows.back().selected) << "a new light is selected";
  EXPECT_FALSE(rows[before].selected);
  for (std::size_t kind = 0; kind < 5; ++kind)
    for (const LightColumn column :
         {LightColumn::name, LightColumn::kind, LightColumn::intensity, LightColumn::color,
          LightColumn::temperature, LightColumn::mute, LightColumn::solo})
      EXPECT_NE(has(kind, column), AttributeId::none);
}

TEST_F(LightRowsTest, MutedLightsAndThoseBesideASoloAreSilent) {
  const Identity first = newLight(document(), 0), second = newLight(document(), 0),
                 third = newLight(document(), 0);
  const auto silent = [&](Identity light) {
    for (const LightRow& row : lightRows(document()))
      if (row.identity == light) return row.silent;
    throw std::runtime_error("no such light");
  };
  const auto set = [&](Identity light, AttributeId id, LONG on) {
    setAttribute(document(), std::array{light}, id, GeData(on));
  };
  set(first, AttributeId::lightMuted, 1);
  EXPECT_TRUE(silent(first));
  EXPECT_FALSE(silent(second));
  set(first, AttributeId::lightSolo, 1);
  EXPECT_FALSE(silent(second)) << "a muted solo silences nobody";
  set(second, AttributeId::lightSolo, 1);
  EXPECT_FALSE(silent(second));
  EXPECT_TRUE(silent(third));
}

} // namespace
