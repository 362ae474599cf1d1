#include "view_marks.h"

#include <cmath>

#include "view_color.h"

namespace host {

namespace {

// A line with soft edges, in device pixels.
void strokeLine(ViewImage& image, double x0, double y0, double x1, double y1, double width, Color color) {
  const double reach = width / 2 + 1;
  if (!std::isfinite(x0 + y0 + x1 + y1)) return;
  const auto bound = [](double v, int limit) {
    return static_cast<int>(std::clamp(v, 0.0, static_cast<double>(limit)));
  };
  const int left = bound(std::min(x0, x1) - reach, image.width),
            right = bound(std::max(x0, x1) + reach + 1, image.width),
            top = bound(std::min(y0, y1) - reach, image.height),
            bottom = bound(std::max(y0, y1) + reach + 1, image.height);
  const double dx = x1 - x0, dy = y1 - y0, square = dx * dx + dy * dy;
  for (int y = top; y < bottom; ++y)
    for (int x = left; x < right; ++x) {
      const double px = x + 0.5 - x0, py = y + 0.5 - y0;
      const double t = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0, 1.0) : 0;
      const double distance = std::hypot(px - t * dx, py - t * dy);
      const auto cover = static_cast<float>(std::clamp(width / 2 + 0.5 - distance, 0.0, 1.0));
      if (cover <= 0) continue;
      std::uint32_t& pixel = image.at(x, y);
      pixel = packed(mix(unpacked(pixel), color, cover));
    }
}

// A sign's lines, in logical pixels around its place.
using Stroke = std::array<double, 4>;

std::vector<Stroke> strokesOf(ViewSymbol::Kind kind) {
  std::vector<Stroke> strokes;
  if (kind == ViewSymbol::Kind::camera)
    return {{-8, -4, 3, -4}, {3, -4, 3, 4}, {3, 4, -8, 4}, {-8, 4, -8, -4},
            {3, 0, 8, -4},   {8, -4, 8, 4}, {8, 4, 3, 0}};
  constexpr int corners = 12;
  constexpr double turn = 2 * 3.14159265358979323846 / corners;
  for (int i = 0; i < corners; ++i) {
    const double a = i * turn, b = a + turn;
    strokes.push_back({4 * std::cos(a), 4 * std::sin(a), 4 * std::cos(b), 4 * std::sin(b)});
    if (i % 3 == 0) strokes.push_back({6 * std::cos(a), 6 * std::sin(a), 9 * std::cos(a), 9 * std::sin(a)});
  }
  return strokes;
}

// Lines in logical pixels, on a dark edge.
void stroke(const PictureSetup& setup, const std::vector<Stroke>& strokes, bool selected, ViewImage& image) {
  const double r = setup.ratio;
  const Color color = selected ? unpacked(accentColor) : Color{216, 216, 220};
  for (const auto& [wide, shade] : {std::pair{2.8, Color{20, 20, 22}}, std::pair{1.3, color}})
    for (const Stroke& s : strokes)
      strokeLine(image, s[0] * r, s[1] * r, s[2] * r, s[3] * r, wide * r, shade);
}

// In short pieces: a line costs its bounding box, and parts behind the camera are left out.
void drawOutline(const PictureSetup& setup, const ViewSymbol& symbol, ViewImage& image) {
  constexpr int pieces = 16;
  std::vector<Stroke> strokes;
  const std::size_t count = symbol.outline.size();
  for (std::size_t i = 0; i < count; ++i) {
    const Vector &from = symbol.outline[i], to = symbol.outline[(i + 1) % count];
    for (int piece = 0; piece < pieces; ++piece) {
      const auto a = setup.camera.project(from + (to - from) * (Real(piece) / pieces));
      const auto b = setup.camera.project(from + (to - from) * (Real(piece + 1) / pieces));
      if (a && b && std::abs(a->x) + std::abs(a->y) + std::abs(b->x) + std::abs(b->y) < 1e6)
        strokes.push_back({a->x, a->y, b->x, b->y});
    }
  }
  stroke(setup, strokes, symbol.selected, image);
}

} // namespace

void drawSymbol(const PictureSetup& setup, const ViewSymbol& symbol, ViewImage& image) {
  const auto spot = setup.camera.project(symbol.place);
  drawOutline(setup, symbol, image);
  if (!spot || std::abs(spot->x) > 1e6 || std::abs(spot->y) > 1e6) return;
  auto strokes = strokesOf(symbol.kind);
  if (symbol.direction != Vector()) {
    // The direction, with the same screen length whenever it is parallel to the picture plane.
    const double x = Dot(symbol.direction, setup.camera.toWorld.v1) * 26,
                 y = -Dot(symbol.direction, setup.camera.toWorld.v2) * 26;
    if (std::hypot(x, y) > 10) strokes.push_back({x * 0.42, y * 0.42, x, y});
  }
  for (Stroke& s : strokes)
    s = {spot->x + s[0], spot->y + s[1], spot->x + s[2], spot->y + s[3]};
  stroke(setup, strokes, symbol.selected, image);
}

void drawTripod(const PictureSetup& setup, ViewImage& image) {
  if (setup.camera.width < 120 || setup.camera.height < 120) return;
  constexpr std::array<Color, 3> colors{Color{210, 88, 88}, Color{118, 176, 96}, Color{92, 132, 214}};
  const Tripod tripod = tripodOf(setup.camera);
  std::array<std::size_t, 3> order{0, 1, 2};
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return tripod.depths[a] > tripod.depths[b]; });
  const double r = setup.ratio;
  for (const std::size_t axis : order)
    strokeLine(image, tripod.x * r, tripod.y * r, tripod.ends[axis][0] * r, tripod.ends[axis][1] * r, 2 * r,
               colors[axis]);
}

} // namespace host
