// Small scenes built in code, rendered without documents.
#pragma once

#include <functional>
#include <vector>

#include "bsdf.h"
#include "c4d.h"
#include "film.h"
#include "render_snapshot.h"
#include "snapshot.h"
#include "vecmath.h"

namespace kit {

using namespace host;
using render::Vec3;

/// Two triangles: corner, corner + u, corner + u + v, corner + v, with texture coordinates 0 to 1 along u and
/// v. The front is the side that u x v points to.
MeshPtr quad(Vec3 corner, Vec3 u, Vec3 v);
/// A sphere around the origin with smooth normals.
MeshPtr ball(float radius, int rings = 96);

/// A picture of 8 bits whose pixel (x, y), from the upper left, is the function's value: red, green, blue,
/// alpha.
PicturePtr picture(int width, int height, const std::function<std::array<int, 4>(int, int)>& pixel);
/// A linear picture with large values.
PicturePtr floatPicture(int width, int height, const std::function<Vec3(int, int)>& pixel);

struct Scene {
  std::shared_ptr<Snapshot> snapshot = std::make_shared<Snapshot>();

  Scene();
  SurfaceMaterial& addMaterial(int* index = nullptr); // white, rough, valid until the next one is added
  Instance& add(MeshPtr mesh, int material = 0, const Matrix& toWorld = Matrix());
  SnapshotLight& addLight(LightKind kind, Vec3 position, Vec3 towards, float intensity);
  void sky(float radiance);
  void lookAt(Vec3 from, Vec3 to, bool orthographic, float yfovOrMag);
  std::vector<std::shared_ptr<SurfaceMaterial>> materials;
};

/// A diffuse plane at y = 0 with this albedo, seen from above around the origin.
Scene diffusePlane(float albedo);
/// A white ball of radius 1 under an even sky, seen along z.
Scene ballInSky();

struct Result {
  RENDERRESULT code = RENDERRESULT_OK;
  int width = 0, height = 0;
  std::vector<float> pixels; // four a pixel, as the film shows them
  std::shared_ptr<Film> film;
  std::vector<std::uint32_t> display;
  RenderStats stats;
  std::vector<std::string> problems;
  Vec3 at(int x, int y) const;
  float alpha(int x, int y) const;
  /// The values of a pixel in a layer of the film; none without the layer.
  std::vector<float> layer(const char* name, int x, int y) const;
  Vec3 mean() const;
  Vec3 mean(int left, int top, int right, int bottom) const; // inclusive
};

/// For a whole picture of this size with a fixed number of samples.
render::RenderSettings settings(int width, int height, int samples);
Result draw(Scene& scene, int width, int height, const render::RenderSettings& settings,
            const render::RenderHooks& hooks = {});
Result draw(Scene& scene, int size, int samples);

/// Sums over samples of a lobe's light and of directions spread evenly over the sphere: both estimate the
/// same two integrals, of the light (green) and of the density.
struct LobeSums {
  double sampled = 0, hits = 0;     // by `sample`: weights; directions that were found
  double integral = 0, density = 0; // by `evaluate`
};
LobeSums lobeSums(const render::Bsdf& bsdf, int count);

ShadePtr bitmapShade(PicturePtr picture);

/// A bitmap that lives as long as a test.
struct Bitmap {
  BaseBitmap* bitmap = BaseBitmap::Alloc();
  Bitmap(int width, int height, int depth = 24) { bitmap->Init(width, height, depth); }
  ~Bitmap() { BaseBitmap::Free(bitmap); }
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
};

} // namespace kit
