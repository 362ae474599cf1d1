// Decoded pictures with mip levels, and filtered look-ups. Immutable once built, any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "input_colors.h"
#include "picture_decode.h"
#include "snapshot.h"
#include "vecmath.h"

namespace host::render {

struct Rgba {
  float r = 1, g = 1, b = 1, a = 1;
};

/// Meaning of 8 and 16 bits of red, green and blue: sRGB codes or plain data. Float pictures are linear.
enum class ColorSpace : std::uint8_t { srgb, data };

/// The space of a picture's values: the chosen one, else that of the shader that shows it.
inline ColorSpace spaceOf(const TextureUse& use, ColorSpace byRule) {
  if (use.colors == TextureColors::byRule) return byRule;
  return use.colors == TextureColors::colors ? ColorSpace::srgb : ColorSpace::data;
}

/// A picture with mip levels: 8 or 16 bits a channel (sRGB codes are decoded after the read) or floats, as
/// the picture has them, each level half the size of the one before, down to one pixel.
class Texture {
 public:
  /// `colors`: the rule that the picture's colours were read by; null without one.
  Texture(const DecodedPicture& picture, ColorSpace space, const InputColors* colors = nullptr);

  int width() const { return levels_[0].width; }
  int height() const { return levels_[0].height; }
  std::size_t bytes() const;

  /// Filtered value at `uv`, [0, 1] from the upper left corner. `footprint` is the width of the averaged area
  /// as a fraction of the picture: it chooses two levels. Linear between them, and bilinear within each.
  Rgba sample(Vec2 uv, float footprint, Wrap wrapU, Wrap wrapV) const;
  /// A single texel in place of the filter: with `jitter` evenly spread in the unit cube, the mean of the
  /// values is that of `sample` with blended levels (Pharr et al. 2024, "Filtering After Shading With
  /// Stochastic Texture Filtering"). Where the picture is magnified, `smoothClose` asks for the filter
  /// nevertheless.
  Rgba sampleOne(Vec2 uv, float footprint, Wrap wrapU, Wrap wrapV, Vec3 jitter, bool smoothClose) const;
  /// The pixel under the point.
  Rgba nearest(Vec2 uv, Wrap wrapU, Wrap wrapV) const;
  Rgba texel(int level, int x, int y) const; // inside the level
  int levelCount() const { return static_cast<int>(levels_.size()); }
  ColorSpace space() const { return space_; }
  const InputColors* colors() const { return colors_; }
  /// A level's texels, rows from the top: four 8-bit channels with red in the lowest byte, four words or four
  /// floats each. Two of the three are empty.
  const std::vector<std::uint32_t>& levelBytes(int level) const {
    return levels_[static_cast<std::size_t>(level)].bytes;
  }
  const std::vector<std::uint16_t>& levelWords(int level) const {
    return levels_[static_cast<std::size_t>(level)].words;
  }
  const std::vector<float>& levelFloats(int level) const {
    return levels_[static_cast<std::size_t>(level)].floats;
  }
  int levelWidth(int level) const { return levels_[static_cast<std::size_t>(level)].width; }
  int levelHeight(int level) const { return levels_[static_cast<std::size_t>(level)].height; }

 private:
  struct Level {
    int width, height;
    std::vector<std::uint32_t> bytes; // red in the lowest byte
    std::vector<std::uint16_t> words;
    std::vector<float> floats;
  };
  static Level base(const DecodedPicture& picture);
  Rgba bilinear(const Level& level, Vec2 uv, Wrap wrapU, Wrap wrapV) const;
  Rgba read(const Level& level, int x, int y) const;
  void write(Level& level, std::size_t texel, const Rgba& value) const;
  void addLevel();

  // Texels across a footprint.
  float texelsAcross(float footprint) const { return footprint * size_; }

  ColorSpace space_;
  const InputColors* colors_;
  float size_ = 1; // the geometric mean of width and height
  std::vector<Level> levels_;
};
using TexturePtr = std::shared_ptr<const Texture>;

/// Applies the texture transform of a use.
Vec2 transformUv(const TextureUse& use, Vec2 uv);

} // namespace host::render
