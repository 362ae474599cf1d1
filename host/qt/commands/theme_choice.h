// The user's choice of a theme, kept in the preferences. Main thread.
#pragma once

#include <optional>

#include "theme.h"

namespace host {

/// Empty: the desktop's.
std::optional<Theme> storedTheme();

/// Shows a theme in every window and stores the choice.
void chooseTheme(std::optional<Theme> theme);

/// Shows the stored choice; without one, the theme stays as it is. Call it once, when the preferences are
/// there.
void restoreTheme();

} // namespace host
