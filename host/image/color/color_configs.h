// The colour configurations of the program's scenes. Private to host/image/color.
#pragma once

#include <string>

#include "color_library.h"

namespace host {

/// The configuration of a file, or that of $OCIO for an empty name; null without one. Each is read once in
/// the program and stays; one that cannot be used is named by a line on the console, once, and is null. Any
/// thread.
const ColorConfig* colorConfigOf(const std::string& name);

} // namespace host
