// Arithmetic of clip-map pixels: words 0xAARRGGBB with straight alpha. Private to host/image.
#pragma once

#include "c4d_types.h"

namespace host {

constexpr ULONG channelOf(ULONG word, int shift) noexcept {
  return (word >> shift) & 255;
}

/// a * b / 255, rounded to the nearest.
constexpr ULONG scaled(ULONG a, ULONG b) noexcept {
  return (a * b + 127) / 255;
}

constexpr ULONG joinWord(ULONG r, ULONG g, ULONG b, ULONG a) noexcept {
  return (a << 24) | (r << 16) | (g << 8) | b;
}

/// `source` over `below` with the opacity `alpha` (0 to 255; the source's own alpha does not count). Rounded
/// to the nearest; where `below` is opaque this is (source * alpha + below * (255 - alpha)) / 255.
constexpr ULONG over(ULONG source, ULONG alpha, ULONG below) noexcept {
  if (alpha == 0) return below;
  if (alpha == 255) return source | 0xff000000u;
  // Opacities in units of 1 / (255 * 255): exact until the one division a channel.
  const ULONG above = alpha * 255, under = channelOf(below, 24) * (255 - alpha), both = above + under;
  ULONG word = ((both + 127) / 255) << 24;
  for (int shift = 0; shift < 24; shift += 8)
    word |= ((channelOf(source, shift) * above + channelOf(below, shift) * under + both / 2) / both) << shift;
  return word;
}

} // namespace host
