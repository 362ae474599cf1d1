// One picture of a view: traced level by level, with the view's own marks drawn on top. Any thread; the
// host's workers share the work.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "view_camera.h"
#include "view_image.h"

namespace host {

/// A light or camera, shown as a small sign, and the outline of a light with an area.
struct ViewSymbol {
  enum class Kind : std::uint8_t { light, camera };
  Kind kind = Kind::light;
  Identity object = 0;
  Vector place;
  Vector direction; // unit vector; zero: in all directions
  bool selected = false;
  std::vector<Vector> outline = {}; // corners of an area light, in the world; the last joins the first
  friend bool operator==(const ViewSymbol&, const ViewSymbol&) = default;
};

/// Everything but the scene that determines a picture.
struct PictureSetup {
  int width = 0, height = 0; // device pixels
  double ratio = 1;          // device pixels per logical pixel
  ViewCamera camera;
  bool hasDocument = false;             // false: only the background
  double gridStep = 1;                  // metres between the grid's thin lines
  std::array<int, 4> frame{0, 0, 0, 0}; // left, top, right, bottom in device pixels; the rest is darkened
  std::shared_ptr<const std::unordered_set<Identity>> selection; // may be null
  std::vector<ViewSymbol> symbols;
};

/// Whether both have the same traced pixels.
bool sameRays(const PictureSetup& a, const PictureSetup& b) noexcept;
/// Whether both have the same marks on top.
bool sameMarks(const PictureSetup& a, const PictureSetup& b);

/// The traced pixels so far. A pixel's ray goes through its centre.
struct TracedPixels {
  int width = 0, height = 0;
  std::vector<std::uint32_t> colors;
  std::vector<Identity> objects; // hit by the ray; 0 for the background
  std::vector<std::uint8_t> done;
  void reset(int newWidth, int newHeight);
};

using Abandoned = std::function<bool()>;

/// Traces the pixels at the centres of blocks of this size (1: all pixels) that are not done yet. The scene
/// may be null. False when abandoned, with some pixels not done. `rays` receives the number of rays.
bool traceLevel(const PictureSetup& setup, const ViewScene* scene, int block, int workers,
                const Abandoned& abandoned, TracedPixels& pixels, long& rays);
/// Traces four more rays through each edge pixel of a complete picture.
bool smoothEdges(const PictureSetup& setup, const ViewScene* scene, int workers, const Abandoned& abandoned,
                 TracedPixels& pixels);

/// The final picture: filled blocks, outlines of selected objects, signs of lights and cameras, darkened
/// surround of the frame, axis tripod.
ViewImage finishPicture(const PictureSetup& setup, const TracedPixels& pixels, int block, int workers);

/// Width of a selected object's outline in device pixels.
int outlineWidth(double ratio) noexcept;
inline constexpr std::uint32_t accentColor = 0xffe0a030;

/// The middle of the axis tripod and the ends of x, y and z, in logical pixels.
struct Tripod {
  double x, y;
  std::array<std::array<double, 2>, 3> ends;
  std::array<double, 3> depths; // of the ends; greater lies behind
};
Tripod tripodOf(const ViewCamera& camera);

} // namespace host
