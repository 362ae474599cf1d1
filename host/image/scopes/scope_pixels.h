// Pixels as scopes measure them. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

class Film;

/// A picture for scopes: what a display shows, or the light of a film. Red, green and blue of each pixel,
/// rows from the top; one of the two vectors is filled.
struct ScopePixels {
  int width = 0, height = 0;
  std::vector<unsigned char> codes; // of a display, 0 to 255
  std::vector<float> light;         // linear, Rec. 709's primaries

  bool isLight() const noexcept { return !light.empty(); }
  std::size_t count() const noexcept {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

/// The light that the film shows, denoised where it is.
ScopePixels scopePixels(const Film& film);

/// Values of scopes are levels. Of a display: the codes, luma by Rec. 709's weights, rounded. Of light: stops
/// from middle grey, 0.18, sixteen levels a stop; level 160 begins at middle grey, level 0 ten stops below.
inline constexpr int scopeLevels = 256, levelsPerStop = 16, middleLevel = 160;
/// Levels below 0 and above 255, of light only. Black and negative light are below all stops.
inline constexpr int belowLevels = -1, aboveLevels = scopeLevels;

enum ScopeChannel : std::size_t { redScope, greenScope, blueScope, lumaScope };
inline constexpr std::size_t scopeChannels = 4;
using ScopeValues = std::array<int, scopeChannels>;

/// The level of light that is a number, or -1 or 256. The exact bounds belong to the upper level.
int levelOfLight(float light) noexcept;
/// The least light of a level, 0 to 256.
double lightOfLevel(double level) noexcept;

/// Whether a pixel is measured: pixels with a channel that is not finite are counted and left out.
enum class ScopeState : std::uint8_t { finite, infinite, nan };

ScopeState scopeState(const ScopePixels& pixels, std::size_t pixel) noexcept;
/// The levels of red, green, blue and luma of a finite pixel.
ScopeValues scopeValues(const ScopePixels& pixels, std::size_t pixel) noexcept;

/// Pixels that were not measured: with NaN in a channel, or an infinity and no NaN.
struct ScopeFaults {
  std::size_t nan = 0, infinite = 0;
  /// False for pixels that are left out.
  bool pass(ScopeState state) noexcept {
    nan += state == ScopeState::nan;
    infinite += state == ScopeState::infinite;
    return state == ScopeState::finite;
  }
  bool operator==(const ScopeFaults& other) const = default;
};

} // namespace host
