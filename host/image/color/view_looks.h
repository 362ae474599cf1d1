// The looks of the views by name, made at their first use. Private to host/image/color.
#pragma once

#include <string>

#include "view_look.h"

namespace host {

/// The look of a view, made once in the life of the program; `config` as in ViewSettings. A view that is not
/// there or cannot be made is named by a line on the console, once, and is null. Any thread.
ViewLookPtr lookOf(const std::string& view, const std::string& config);

} // namespace host
