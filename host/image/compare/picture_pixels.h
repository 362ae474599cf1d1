// Pixels of pictures as displays show them. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace host {

/// Words 0xAARRGGBB, rows from the top, `stride` words from one to the next.
template <class Word>
struct PixelSpan {
  Word* pixels = nullptr;
  int width = 0, height = 0;
  std::size_t stride = 0;

  Word* row(int y) const noexcept { return pixels + static_cast<std::size_t>(y) * stride; }
  bool empty() const noexcept { return width < 1 || height < 1; }
  operator PixelSpan<const Word>() const noexcept requires(!std::is_const_v<Word>) {
    return {pixels, width, height, stride};
  }
};
using PixelView = PixelSpan<const std::uint32_t>;
using PixelTarget = PixelSpan<std::uint32_t>;

struct PicturePixels {
  int width = 0, height = 0;
  std::vector<std::uint32_t> pixels;

  PicturePixels() = default;
  PicturePixels(int w, int h)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  PixelView view() const noexcept { return {pixels.data(), width, height, static_cast<std::size_t>(width)}; }
  PixelTarget target() noexcept { return {pixels.data(), width, height, static_cast<std::size_t>(width)}; }
};

} // namespace host
