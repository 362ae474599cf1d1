// View > Theme: shown at once, kept in the home.
#include "theme_choice.h"

#include "main_kit.h"

namespace {

class ThemeChoice : public StudioTest {
 protected:
  ThemeChoice() { startStudio(); }
  ~ThemeChoice() override { host::setTheme({}); }
};

TEST_F(ThemeChoice, IsShownAtOnceAndKept) {
  EXPECT_TRUE(action("view.theme-desktop")->isChecked());
  const host::Theme before = host::theme();
  const bool wasDark = before == host::Theme::dark;
  choose(wasDark ? "view.theme-light" : "view.theme-dark");
  EXPECT_NE(host::theme(), before);
  EXPECT_TRUE(action(wasDark ? "view.theme-light" : "view.theme-dark")->isChecked());
  EXPECT_FALSE(action("view.theme-desktop")->isChecked());
  stopStudio();
  host::setTheme({});
  ASSERT_EQ(host::theme(), before);
  startStudio();
  EXPECT_NE(host::theme(), before) << "the next start shows it again";
  choose("view.theme-desktop");
  EXPECT_EQ(host::theme(), before);
  EXPECT_EQ(host::storedTheme(), std::nullopt);
}

} // namespace
