// File names that a user types into a dialog. Main thread.
#pragma once

#include <functional>

#include "c4d_filename.h"

namespace host {

/// Completes a typed name: a relative one needs a folder to count from.
using TypedNames = std::function<Filename(const Filename&)>;

/// With an empty function names stay as typed, so relative ones count from the working folder.
void setTypedNames(TypedNames meaning);
/// The completed name. An empty name stays empty.
Filename typedName(const Filename& typed);

} // namespace host
