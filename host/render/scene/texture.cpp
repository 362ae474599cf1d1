#include "texture.h"

#include <array>
#include <cstring>

#include "display_transform.h"

namespace host::render {
namespace {

// The values of 8-bit codes: linear light for colours, fractions for plain data.
struct CodeTables {
  std::array<float, 256> srgb{}, data{};
  CodeTables() {
    for (std::size_t i = 0; i < 256; ++i) {
      data[i] = static_cast<float>(static_cast<double>(i) / 255);
      srgb[i] = fromDisplay(static_cast<unsigned char>(i));
    }
  }
};
const CodeTables& codes() {
  static const CodeTables tables;
  return tables;
}

std::uint32_t quantize(float v) {
  return static_cast<std::uint32_t>(clamp01(v) * 255 + 0.5f);
}

std::uint32_t encodeSrgb(float v) {
  return toDisplay(v);
}

int wrapTexel(int x, int size, Wrap wrap) {
  if (static_cast<unsigned>(x) < static_cast<unsigned>(size)) return x;
  if (wrap == Wrap::clamp) return x < 0 ? 0 : size - 1;
  if (wrap == Wrap::repeat) {
    const int m = x % size;
    return m < 0 ? m + size : m;
  }
  int m = x % (2 * size);
  if (m < 0) m += 2 * size;
  return m < size ? m : 2 * size - 1 - m;
}

// Keeps coordinates in the range of an int; a repeated picture needs only the part within two repetitions.
float foldCoordinate(float u, Wrap wrap) {
  if (!(std::abs(u) < 1e6f)) u = std::isfinite(u) ? std::fmod(u, 2.0f) : 0.0f;
  if (wrap == Wrap::clamp) return std::clamp(u, -1.0f, 2.0f);
  return u - 2 * std::floor(u / 2);
}

Rgba mix(Rgba a, Rgba b, float t) {
  return {lerp(a.r, b.r, t), lerp(a.g, b.g, t), lerp(a.b, b.b, t), lerp(a.a, b.a, t)};
}

} // namespace

Texture::Texture(const DecodedPicture& picture, ColorSpace space, const InputColors* colors)
    : space_(space), colors_(colors) {
  levels_.push_back(base(picture));
  size_ = std::sqrt(static_cast<float>(width()) * static_cast<float>(height()));
  while (levels_.back().width > 1 || levels_.back().height > 1)
    addLevel();
}

Texture::Level Texture::base(const DecodedPicture& picture) {
  Level first{picture.width, picture.height, {}, {}, {}};
  if (!picture.floats.empty()) {
    first.floats = picture.floats;
    for (float& v : first.floats)
      if (!std::isfinite(v)) v = 0;
    return first;
  }
  if (!picture.words.empty()) {
    first.words = picture.words;
    return first;
  }
  first.bytes.resize(picture.bytes.size() / 4);
  for (std::size_t i = 0; i < first.bytes.size(); ++i) {
    const unsigned char* p = picture.bytes.data() + 4 * i;
    first.bytes[i] = static_cast<std::uint32_t>(p[0] | (p[1] << 8) | (p[2] << 16)) |
                     (static_cast<std::uint32_t>(p[3]) << 24);
  }
  return first;
}

// Each pixel is the mean of up to four pixels of the level before, in linear light.
void Texture::addLevel() {
  const Level& from = levels_.back();
  Level to{std::max(1, from.width / 2), std::max(1, from.height / 2), {}, {}, {}};
  const auto count = static_cast<std::size_t>(to.width) * static_cast<std::size_t>(to.height);
  if (!from.floats.empty())
    to.floats.resize(count * 4);
  else if (!from.words.empty())
    to.words.resize(count * 4);
  else
    to.bytes.resize(count);
  std::size_t texel = 0;
  for (int y = 0; y < to.height; ++y)
    for (int x = 0; x < to.width; ++x) {
      const int x0 = std::min(2 * x, from.width - 1), x1 = std::min(2 * x + 1, from.width - 1);
      const int y0 = std::min(2 * y, from.height - 1), y1 = std::min(2 * y + 1, from.height - 1);
      write(to, texel++,
            mix(mix(read(from, x0, y0), read(from, x1, y0), 0.5f),
                mix(read(from, x0, y1), read(from, x1, y1), 0.5f), 0.5f));
    }
  levels_.push_back(std::move(to));
}

void Texture::write(Level& level, std::size_t texel, const Rgba& m) const {
  const float values[4] = {m.r, m.g, m.b, m.a};
  if (!level.floats.empty()) {
    std::memcpy(&level.floats[4 * texel], values, sizeof values);
  } else if (!level.words.empty()) {
    for (std::size_t i = 0; i < 4; ++i)
      level.words[4 * texel + i] = space_ == ColorSpace::srgb && i < 3
                                       ? toDisplayWord(values[i])
                                       : static_cast<std::uint16_t>(clamp01(values[i]) * 65535 + 0.5f);
  } else {
    const auto code = space_ == ColorSpace::srgb ? encodeSrgb : quantize;
    level.bytes[texel] = code(m.r) | (code(m.g) << 8) | (code(m.b) << 16) | (quantize(m.a) << 24);
  }
}

std::size_t Texture::bytes() const {
  std::size_t sum = sizeof *this;
  for (const Level& level : levels_)
    sum += level.bytes.size() * sizeof(std::uint32_t) + level.words.size() * sizeof(std::uint16_t) +
           level.floats.size() * sizeof(float);
  return sum;
}

Rgba Texture::read(const Level& level, int x, int y) const {
  const auto i =
      static_cast<std::size_t>(y) * static_cast<std::size_t>(level.width) + static_cast<std::size_t>(x);
  if (!level.floats.empty()) {
    const float* p = &level.floats[4 * i];
    return {p[0], p[1], p[2], p[3]};
  }
  if (!level.words.empty()) {
    constexpr float unit = 1.0f / 65535;
    const std::uint16_t* p = &level.words[4 * i];
    if (space_ == ColorSpace::srgb) {
      static const std::array<float, 65536>& light = lightOfWords();
      return {light[p[0]], light[p[1]], light[p[2]], static_cast<float>(p[3]) * unit};
    }
    return {static_cast<float>(p[0]) * unit, static_cast<float>(p[1]) * unit, static_cast<float>(p[2]) * unit,
            static_cast<float>(p[3]) * unit};
  }
  static const CodeTables& tables = codes();
  const auto& table = space_ == ColorSpace::srgb ? tables.srgb : tables.data;
  const std::uint32_t word = level.bytes[i];
  return {table[word & 255], table[(word >> 8) & 255], table[(word >> 16) & 255], tables.data[word >> 24]};
}

Rgba Texture::texel(int level, int x, int y) const {
  return read(levels_[static_cast<std::size_t>(level)], x, y);
}

Rgba Texture::bilinear(const Level& level, Vec2 uv, Wrap wrapU, Wrap wrapV) const {
  const float x = foldCoordinate(uv.x, wrapU) * static_cast<float>(level.width) - 0.5f;
  const float y = foldCoordinate(uv.y, wrapV) * static_cast<float>(level.height) - 0.5f;
  const float fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
  const int x0 = wrapTexel(ix, level.width, wrapU), x1 = wrapTexel(ix + 1, level.width, wrapU);
  const int y0 = wrapTexel(iy, level.height, wrapV), y1 = wrapTexel(iy + 1, level.height, wrapV);
  const float tx = x - fx, ty = y - fy;
  return mix(mix(read(level, x0, y0), read(level, x1, y0), tx),
             mix(read(level, x0, y1), read(level, x1, y1), tx), ty);
}

Rgba Texture::sample(Vec2 uv, float footprint, Wrap wrapU, Wrap wrapV) const {
  const float texels = texelsAcross(footprint);
  if (!(texels > 1)) return bilinear(levels_[0], uv, wrapU, wrapV);
  const float last = static_cast<float>(levels_.size() - 1);
  const float level = std::min(last, std::log2(texels));
  const auto lower = static_cast<std::size_t>(level);
  const Rgba a = bilinear(levels_[lower], uv, wrapU, wrapV);
  if (lower + 1 >= levels_.size()) return a;
  return mix(a, bilinear(levels_[lower + 1], uv, wrapU, wrapV), level - static_cast<float>(lower));
}

Rgba Texture::sampleOne(Vec2 uv, float footprint, Wrap wrapU, Wrap wrapV, Vec3 jitter,
                        bool smoothClose) const {
  const float texels = texelsAcross(footprint);
  std::size_t number = 0;
  if (texels > 1)
    number = std::min(levels_.size() - 1, static_cast<std::size_t>(std::log2(texels) + jitter.z));
  else if (smoothClose)
    return bilinear(levels_[0], uv, wrapU, wrapV);
  const Level& level = levels_[number];
  const float x = foldCoordinate(uv.x, wrapU) * static_cast<float>(level.width) - 0.5f + jitter.x;
  const float y = foldCoordinate(uv.y, wrapV) * static_cast<float>(level.height) - 0.5f + jitter.y;
  return read(level, wrapTexel(static_cast<int>(std::floor(x)), level.width, wrapU),
              wrapTexel(static_cast<int>(std::floor(y)), level.height, wrapV));
}

Rgba Texture::nearest(Vec2 uv, Wrap wrapU, Wrap wrapV) const {
  const Level& level = levels_[0];
  const int x = static_cast<int>(std::floor(foldCoordinate(uv.x, wrapU) * static_cast<float>(level.width)));
  const int y = static_cast<int>(std::floor(foldCoordinate(uv.y, wrapV) * static_cast<float>(level.height)));
  return read(level, wrapTexel(x, level.width, wrapU), wrapTexel(y, level.height, wrapV));
}

// glTF's KHR_texture_transform: scale, then a counter-clockwise turn of the coordinates (v runs downwards),
// then the offset.
Vec2 transformUv(const TextureUse& use, Vec2 uv) {
  const float x = uv.x * use.scale[0], y = uv.y * use.scale[1];
  if (use.rotation == 0) return {x + use.offset[0], y + use.offset[1]};
  const float c = std::cos(use.rotation), s = std::sin(use.rotation);
  return {c * x + s * y + use.offset[0], c * y - s * x + use.offset[1]};
}

} // namespace host::render
