// Shared by the fuzz targets of picture formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>

#include "colour_profile.h"
#include "picture_codec.h"
#include "turn_picture.h"

namespace fuzz_picture {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

/// A small input may claim a picture of gigabytes: what those cost says nothing about the reader.
inline constexpr std::uint64_t mostPixels = 1 << 22;

/// Reads with one format's reader. Whatever it gives has the size that it says, and goes through its profile
/// and its orientation.
inline int read(host::RawPicture (*reader)(host::PictureBytes), bool (*plausible)(host::PictureBytes),
                const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  if (plausible && !plausible(bytes)) return 0;
  try {
    host::RawPicture raw = reader(bytes);
    const host::DecodedPicture& picture = raw.picture;
    const auto count = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 4;
    require(picture.bytes.size() + picture.words.size() + picture.floats.size() == count,
            "one value a channel");
    if (count / 4 > mostPixels) return 0;
    std::string reason;
    host::convertColours(raw, &reason);
    host::turnUpright(raw.picture, raw.orientation);
  } catch (const std::exception&) { // refused
  }
  return 0;
}

} // namespace fuzz_picture
