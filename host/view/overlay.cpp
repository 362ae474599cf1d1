#include "overlay.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

OverlayScope* innermost = nullptr;

constexpr double reach = 1 << 30;

LONG pixelOf(Real value) {
  return static_cast<LONG>(std::clamp(std::floor(value), -reach, reach));
}

std::uint32_t byteOf(Real value) {
  return value > 0 ? static_cast<std::uint32_t>(std::lround(std::min(value, 1.0) * 255)) : 0; // NaN: 0
}

// The device pixels of the frame's logical pixels, along one axis.
struct Axis {
  double ratio;
  LONG origin;
  int first, limit; // drawable device pixels
  int edge(LONG pixel) const {
    const double at = std::floor((static_cast<double>(origin) + pixel) * ratio);
    return static_cast<int>(std::clamp(at, static_cast<double>(first), static_cast<double>(limit)));
  }
  LONG begin() const { return static_cast<LONG>(std::floor(first / ratio)) - origin; }
  // One past the last logical pixel.
  LONG end() const { return static_cast<LONG>(std::ceil(limit / ratio)) - origin; }
};

Axis axisOf(double ratio, LONG origin, int first, int limit, int size) {
  first = std::clamp(first, 0, size);
  return {ratio, origin, first, std::clamp(limit, first, size)};
}

class Painter {
 public:
  Painter(const OverlayFrame& frame, ViewImage& image, std::vector<PaintedPixel>& painted)
      : across_(axisOf(frame.ratio, frame.x, frame.left, frame.right, image.width)),
        down_(axisOf(frame.ratio, frame.y, frame.top, frame.bottom, image.height)), image_(image),
        painted_(painted) {}

  void draw(const OverlayMark& mark) {
    const LLONG dx = LLONG{mark.x1} - mark.x0, dy = LLONG{mark.y1} - mark.y0;
    if (std::abs(dx) >= std::abs(dy))
      run(mark.x0, mark.y0, dx, dy, across_, [&](LONG x, LONG y) { block(x, y, mark.color); });
    else
      run(mark.y0, mark.x0, dy, dx, down_, [&](LONG y, LONG x) { block(x, y, mark.color); });
  }

 private:
  // Visits a line's pixels along its longer axis, only where that axis is in the frame. The other
  // coordinate is the nearest pixel's, halves towards the line's end, in whole numbers.
  template <class Visit>
  static void run(LONG start, LONG side, LLONG length, LLONG rise, const Axis& axis, const Visit& visit) {
    const LLONG sign = length < 0 ? -1 : 1, count = length * sign;
    const LLONG near = axis.begin(), far = LLONG{axis.end()} - 1;
    LLONG first = sign > 0 ? near - start : start - far;
    LLONG last = sign > 0 ? far - start : start - near;
    first = std::max<LLONG>(first, 0), last = std::min(last, count);
    const LLONG up = rise < 0 ? -1 : 1;
    for (LLONG i = first; i <= last; ++i) {
      const LLONG aside = count == 0 ? 0 : up * ((2 * rise * up * i + count) / (2 * count));
      visit(static_cast<LONG>(start + sign * i), static_cast<LONG>(side + aside));
    }
  }

  void block(LONG x, LONG y, std::uint32_t color) {
    const int right = across_.edge(x + 1), bottom = down_.edge(y + 1);
    for (int row = down_.edge(y); row < bottom; ++row)
      for (int column = across_.edge(x); column < right; ++column) {
        const std::size_t index = image_.index(column, row);
        painted_.push_back({index, image_.pixels[index]});
        image_.pixels[index] = color;
      }
  }

  Axis across_, down_;
  ViewImage& image_;
  std::vector<PaintedPixel>& painted_;
};

} // namespace

OverlayScope::OverlayScope(const BaseDraw& view, Overlay& overlay) noexcept
    : view_(view), overlay_(overlay), outer_(innermost) {
  innermost = this;
}

OverlayScope::~OverlayScope() {
  innermost = outer_;
}

OverlayScope* OverlayScope::of(const BaseDraw* view) noexcept {
  return innermost && &innermost->view_ == view ? innermost : nullptr;
}

void OverlayScope::toScreenSpace(LONG depth) noexcept {
  screen_ = true;
  pen_.depth = depth;
}

void OverlayScope::setPen(const Vector& color) noexcept {
  pen_.color = 0xff000000U | byteOf(color.x) << 16 | byteOf(color.y) << 8 | byteOf(color.z);
}

void OverlayScope::add(const Vector& from, const Vector& to) {
  if (!screen_ || !std::isfinite(from.x + from.y) || !std::isfinite(to.x + to.y)) return;
  OverlayMark mark = pen_;
  mark.x0 = pixelOf(from.x), mark.y0 = pixelOf(from.y);
  mark.x1 = pixelOf(to.x), mark.y1 = pixelOf(to.y);
  overlay_.push_back(mark);
}

void drawOverlay(const Overlay& overlay, const OverlayFrame& frame, ViewImage& image,
                 std::vector<PaintedPixel>& painted) {
  if (image.empty() || !(frame.ratio > 0)) return;
  std::vector<const OverlayMark*> order(overlay.size());
  std::transform(overlay.begin(), overlay.end(), order.begin(),
                 [](const OverlayMark& mark) { return &mark; });
  std::stable_sort(order.begin(), order.end(),
                   [](const auto* a, const auto* b) { return a->depth > b->depth; });
  Painter painter(frame, image, painted);
  for (const OverlayMark* mark : order)
    painter.draw(*mark);
}

void eraseOverlay(ViewImage& image, std::vector<PaintedPixel>& painted) noexcept {
  for (auto pixel = painted.rbegin(); pixel != painted.rend(); ++pixel)
    if (pixel->index < image.pixels.size()) image.pixels[pixel->index] = pixel->before;
  painted.clear();
}

} // namespace host

void BaseDraw::SetMatrix_Screen(LONG zoffset) {
  if (auto* scope = host::OverlayScope::of(this)) scope->toScreenSpace(zoffset);
}

void BaseDraw::SetPen(const Vector& color) {
  if (auto* scope = host::OverlayScope::of(this)) scope->setPen(color);
}

void BaseDraw::DrawLine2D(Vector from, Vector to) {
  if (auto* scope = host::OverlayScope::of(this)) scope->add(from, to);
}

void BaseDraw::DrawPoint2D(Vector at) {
  if (auto* scope = host::OverlayScope::of(this)) scope->add(at, at);
}
