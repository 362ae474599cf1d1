// Tiles of a picture that the network sees one after the other, so that memory stays bounded. Any thread.
#pragma once

#include <vector>

namespace host::denoise {

/// Both sides of what the network sees are multiples of this: it halves the picture four times.
constexpr int networkStep = 16;
/// Pixels beyond this distance do not reach a pixel's result.
constexpr int networkReach = 96;
/// The most pixels that the network sees at once; about 600 bytes each.
constexpr long long mostTilePixels = 1'250'000;

struct DenoiseTile {
  int left, top, right, bottom;                 // what the tile gives; right and bottom exclusive
  int seenLeft, seenTop, seenWidth, seenHeight; // what the network sees; may end beyond the picture
};

/// Tiles that cover the picture once, with the least work. What a tile gives is the same as without tiles.
/// `most` is the largest tile in pixels that the network sees, at least 512 x 512.
std::vector<DenoiseTile> planTiles(int width, int height, long long most = mostTilePixels);

} // namespace host::denoise
