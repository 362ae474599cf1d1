// What kind of picture a file's bytes are. Private to host/image.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace host {

/// The name of the reader for these bytes; null when they are no kind that we read. The file's suffix counts
/// only for TGA, which need not carry a mark. Asking the bytes first keeps a file from choosing a reader that
/// has nothing to do with it.
const char* pictureKind(std::span<const std::byte> file, const std::string& name);

/// Cheap checks of a header against the size of the file, before any memory is asked for. False means
/// damaged.
bool plausiblePicture(const char* kind, std::span<const std::byte> file);

} // namespace host
