// File names that a user types into a dialog. Main thread.
#pragma once

#include <functional>

#include "c4d_filename.h"

namespace host {

/// Says what a typed name means: a relative one needs a folder to count from.
using TypedNames = std::function<Filename(const Filename&)>;

/// An empty function: every name stays as it was typed, so a relative one counts from the working folder.
void setTypedNames(TypedNames meaning);
/// The file that is meant. An empty name stays empty.
Filename typedName(const Filename& typed);

} // namespace host
