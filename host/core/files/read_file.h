// Files read whole. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "c4d_filename.h"

namespace host {

enum class ReadFault : std::uint8_t {
  none,
  missing,
  folder,      // the name is a folder's
  notRegular,  // a device, a pipe
  unreachable, // its folder cannot be looked at
  tooLarge,
  failed // it cannot be opened or read to its end
};

struct FileContent {
  ReadFault fault = ReadFault::none;
  std::string reason; // the system's words for `unreachable` and `failed`, else empty
  std::vector<std::byte> bytes;

  std::string_view text() const noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }
};

/// The bytes of a regular file, or the reason why there are none. A larger one than `mostBytes` is not read.
/// Throws std::bad_alloc.
FileContent readFile(const Filename& file,
                     std::uintmax_t mostBytes = std::numeric_limits<std::uintmax_t>::max());

} // namespace host
