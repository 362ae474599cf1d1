// Shared by the fuzz targets of picture formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <string_view>

#include "color_profile.h"
#include "fuzz_support.h"
#include "picture_codec.h"
#include "turn_picture.h"

namespace fuzz_picture {

using fuzz::require;

/// A small input may claim a picture of gigabytes, whose cost says nothing about the reader.
inline constexpr std::uint64_t mostPixels = 1 << 16;

/// Reads with one format's reader. A picture has the pixels that its size says, and passes through its
/// profile and its orientation.
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
    host::convertColors(raw, &reason);
    host::turnUpright(raw.picture, raw.orientation);
  } catch (const std::exception&) { // refused
  }
  return 0;
}

} // namespace fuzz_picture
