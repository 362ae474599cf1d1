// Kept films and picture files as bitmaps. Any thread.
#pragma once

#include <memory>

#include "film.h"
#include "host_renders.h"

namespace host {

/// A bitmap that shows the film; null when memory is short.
SharedBitmap bitmapOf(const std::shared_ptr<Film>& film);
/// A picture file; null when it cannot be read.
SharedBitmap bitmapOf(const Filename& file);

} // namespace host
