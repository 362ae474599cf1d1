// Files that a command writes.
#pragma once

#include <string>

#include "c4d_filename.h"

namespace batch {

/// Checks that the file can be created or replaced, and leaves nothing behind. Throws `Stop` (output not
/// writable).
void requireWritable(const Filename& file, const std::string& what);

/// Whether a picture goes to standard output: "-", which is a PNG, or "-.SUFFIX".
bool isStandardOutput(const std::string& picture);

/// As `requireWritable`, for a picture that may go to standard output: a terminal is refused (wrong use).
void requirePictureTarget(const std::string& picture);
/// Throws `Stop` (wrong use) for standard output, where only a file will do.
void refuseStandardOutput(const std::string& picture);

/// Writes a file's bytes to standard output. Throws `Stop` (output not writable).
void copyToStandardOutput(const Filename& file);

/// Replaces a text file. Throws `Stop` (output not writable).
void writeText(const Filename& file, const std::string& text, const std::string& what);

} // namespace batch
