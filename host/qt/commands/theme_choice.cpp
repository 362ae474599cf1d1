#include "theme_choice.h"

#include "preferences.h"

namespace host {

namespace {
constexpr const char* stored = "theme";
constexpr LONG entry = 1;
enum StoredTheme : LONG { desktop = 0, dark = 1, light = 2 };
} // namespace

std::optional<Theme> storedTheme() {
  const BaseContainer* choice = preferences() ? preferences()->getNamed(stored) : nullptr;
  switch (choice ? choice->GetLong(entry, desktop) : desktop) {
  case dark:
    return Theme::dark;
  case light:
    return Theme::light;
  default:
    return {};
  }
}

void chooseTheme(std::optional<Theme> theme) {
  setTheme(theme);
  BaseContainer choice;
  choice.SetLong(entry, !theme ? desktop : *theme == Theme::dark ? dark : light);
  if (preferences()) preferences()->setNamed(stored, choice);
}

void restoreTheme() {
  if (const std::optional<Theme> theme = storedTheme()) setTheme(theme);
}

} // namespace host
