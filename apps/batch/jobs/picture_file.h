// The picture that a command writes.
#pragma once

#include <optional>
#include <string>

#include "c4d_bitmap.h"
#include "c4d_filename.h"

namespace batch {

/// Quality of JPEG pictures when none is chosen.
inline constexpr LONG defaultJpegQuality = 95;

/// Throws `Stop` (wrong use) for an unknown suffix, and for a quality when the format has none.
void checkPictureFile(const std::string& file, std::optional<LONG> quality = {});

/// Whether pictures of this suffix hold light instead of codes, so that no view applies.
bool holdsLight(const std::string& file);

/// Saves the bitmap in the format of the suffix. `quality` is 1 to 100; without it a JPEG has the default and
/// a WebP is lossless. Throws `Stop` (output not writable, or as above). Main thread.
void savePicture(const BaseBitmap& bitmap, const std::string& file, std::optional<LONG> quality = {});

} // namespace batch
