// One picture of a view: tracing it level by level, and drawing onto it what belongs to the view itself. Any
// thread; work is spread over the host's workers.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "view_camera.h"
#include "view_image.h"

namespace host {

/// A light or camera, shown as a small sign at its place.
struct ViewSymbol {
  enum class Kind : std::uint8_t { light, camera };
  Kind kind = Kind::light;
  Identity object = 0;
  Vector place;
  Vector direction; // unit, where it shines or looks; zero: everywhere
  bool selected = false;
  friend bool operator==(const ViewSymbol&, const ViewSymbol&) = default;
};

/// Everything that a picture depends on but the scene.
struct PictureSetup {
  int width = 0, height = 0; // device pixels
  double ratio = 1;          // of them for a logical one
  ViewCamera camera;
  bool hasDocument = false;             // without one: the background alone
  double gridStep = 1;                  // metres between the grid's thin lines
  std::array<int, 4> frame{0, 0, 0, 0}; // left, top, right, bottom in device pixels; the rest is darkened
  std::shared_ptr<const std::unordered_set<Identity>> selection; // may be null
  std::vector<ViewSymbol> symbols;
};

/// Whether the traced pixels of one serve the other.
bool sameRays(const PictureSetup& a, const PictureSetup& b) noexcept;
/// Whether what is drawn over them is the same too.
bool sameMarks(const PictureSetup& a, const PictureSetup& b);

/// What has been traced so far. A pixel's ray goes through its middle.
struct TracedPixels {
  int width = 0, height = 0;
  std::vector<std::uint32_t> colors;
  std::vector<Identity> objects; // what the ray met; 0 for the background
  std::vector<std::uint8_t> done;
  void reset(int newWidth, int newHeight);
};

using Abandoned = std::function<bool()>;

/// Traces the pixels in the middle of blocks of this size (1: all pixels) that are not done yet. The scene
/// may be null. False when abandoned, which leaves some undone. Gives the number of rays in `rays`.
bool traceLevel(const PictureSetup& setup, const ViewScene* scene, int block, int workers,
                const Abandoned& abandoned, TracedPixels& pixels, long& rays);
/// Traces four more rays through each pixel at an edge of a picture whose pixels are all done.
bool smoothEdges(const PictureSetup& setup, const ViewScene* scene, int workers, const Abandoned& abandoned,
                 TracedPixels& pixels);

/// The picture as it shows: blocks filled, selected objects outlined, signs of lights and cameras, darkened
/// surround of the safe frame, axis tripod.
ViewImage finishPicture(const PictureSetup& setup, const TracedPixels& pixels, int block, int workers);

/// Width of a selected object's outline in device pixels: what lies this near to it, and is not selected.
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
