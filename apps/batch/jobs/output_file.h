// Where results go: known formats, and targets that can be written.
#pragma once

#include <string>

#include "c4d_filename.h"
#include "c4d_types.h"

namespace batch {

/// The image filter for a picture's suffix. Throws `Stop` (wrong use) for any other.
LONG pictureFilter(const Filename& picture);

/// Makes sure, before any work is done, that the file can be made or replaced; nothing is left of the try.
/// Throws `Stop` (output not writable).
void requireWritable(const Filename& file, const std::string& what);

/// Replaces a text file. Throws `Stop` (output not writable).
void writeText(const Filename& file, const std::string& text, const std::string& what);

} // namespace batch
