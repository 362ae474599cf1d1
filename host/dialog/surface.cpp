#include "surface.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace host {

namespace {

constexpr int largestSide = 32768;

int cutSide(double side) {
  return static_cast<int>(std::clamp(side, 0.0, double{largestSide}));
}

// Clips the line from (x1, y1) to (x2, y2) to a rectangle around (0, 0) to (right, bottom); false when
// nothing remains. Liang and Barsky's parametric clipping.
bool clipLine(double& x1, double& y1, double& x2, double& y2, double right, double bottom) {
  const double dx = x2 - x1, dy = y2 - y1;
  double from = 0, to = 1;
  const double steps[4] = {-dx, dx, -dy, dy};
  const double rooms[4] = {x1, right - x1, y1, bottom - y1};
  for (int edge = 0; edge < 4; ++edge) {
    if (steps[edge] == 0) {
      if (rooms[edge] < 0) return false;
      continue;
    }
    const double at = rooms[edge] / steps[edge];
    if (steps[edge] < 0)
      from = std::max(from, at);
    else
      to = std::min(to, at);
  }
  if (from > to) return false;
  x2 = x1 + to * dx;
  y2 = y1 + to * dy;
  x1 += from * dx;
  y1 += from * dy;
  return true;
}

} // namespace

std::uint32_t packColor(const Vector& color) noexcept {
  const auto code = [](Real value) {
    const Real cut = value > 0 ? std::min<Real>(value, 1) : 0;
    return static_cast<std::uint32_t>(std::lround(cut * 255));
  };
  return 0xff000000u | code(color.x) << 16 | code(color.y) << 8 | code(color.z);
}

void Surface::resize(int width, int height, double ratio, std::uint32_t fill) {
  if (!(ratio > 0) || !std::isfinite(ratio)) ratio = 1;
  width_ = std::clamp(width, 0, largestSide);
  height_ = std::clamp(height, 0, largestSide);
  ratio_ = ratio;
  pixelWidth_ = cutSide(std::round(width_ * ratio));
  pixelHeight_ = cutSide(std::round(height_ * ratio));
  const std::size_t count = static_cast<std::size_t>(pixelWidth_) * static_cast<std::size_t>(pixelHeight_);
  try {
    pixels_.assign(count, fill);
  } catch (const std::bad_alloc&) { // the surface then has no pixels
    pixels_.clear();
    pixelWidth_ = pixelHeight_ = 0;
  }
}

std::uint32_t Surface::at(int x, int y) const noexcept {
  if (x < 0 || y < 0 || x >= pixelWidth_ || y >= pixelHeight_) return 0;
  return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(pixelWidth_) +
                 static_cast<std::size_t>(x)];
}

void Surface::fill(std::uint32_t color) noexcept {
  std::fill(pixels_.begin(), pixels_.end(), color);
}

void Surface::fillPixels(int left, int top, int right, int bottom, std::uint32_t color) noexcept {
  left = std::max(left, 0);
  top = std::max(top, 0);
  right = std::min(right, pixelWidth_);
  bottom = std::min(bottom, pixelHeight_);
  for (int y = top; y < bottom && left < right; ++y)
    std::fill_n(row(y) + left, right - left, color);
}

void Surface::fillRect(int x1, int y1, int x2, int y2, std::uint32_t color) noexcept {
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  const auto edge = [this](double logical) {
    return static_cast<int>(std::clamp(std::round(logical * ratio_), -1.0, 40000.0));
  };
  fillPixels(edge(x1), edge(y1), edge(x2 + 1.0), edge(y2 + 1.0), color);
}

// Steps along the longer axis; a point is a square of one logical pixel.
void Surface::line(int x1, int y1, int x2, int y2, std::uint32_t color) noexcept {
  const int thick = std::max(1, static_cast<int>(std::lround(ratio_)));
  double fromX = std::round(x1 * ratio_), fromY = std::round(y1 * ratio_);
  double toX = std::round(x2 * ratio_), toY = std::round(y2 * ratio_);
  // Margin for the squares of points to the left and above.
  const double margin = thick;
  fromX += margin, toX += margin, fromY += margin, toY += margin;
  if (!clipLine(fromX, fromY, toX, toY, pixelWidth_ + margin, pixelHeight_ + margin)) return;
  fromX -= margin, toX -= margin, fromY -= margin, toY -= margin;
  const double length = std::max(std::abs(toX - fromX), std::abs(toY - fromY));
  const int steps = static_cast<int>(std::lround(length));
  for (int i = 0; i <= steps; ++i) {
    const double at = steps == 0 ? 0 : 1.0 * i / steps;
    const int x = static_cast<int>(std::lround(fromX + at * (toX - fromX)));
    const int y = static_cast<int>(std::lround(fromY + at * (toY - fromY)));
    fillPixels(x, y, x + thick, y + thick, color);
  }
}

} // namespace host
