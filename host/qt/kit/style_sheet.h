// The one style sheet. Main thread.
#pragma once

#include <QString>

#include "theme.h"

namespace host {

/// The sheet with the tokens in their places.
QString styleSheet(const Tokens& tokens);

} // namespace host
