// Files that a command writes.
#pragma once

#include <string>

#include "c4d_filename.h"

namespace batch {

/// Checks that the file can be created or replaced, and leaves nothing behind. Throws `Stop` (output not
/// writable).
void requireWritable(const Filename& file, const std::string& what);

/// Replaces a text file. Throws `Stop` (output not writable).
void writeText(const Filename& file, const std::string& text, const std::string& what);

} // namespace batch
