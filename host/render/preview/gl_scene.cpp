#include "gl_scene.h"

#include <numeric>

#include "shading.h"
#include "worker_threads.h"

namespace host::render {
namespace {

bool usable(const Instance& instance) {
  const Matrix& m = instance.toWorld;
  const Real det = Dot(m.v1, Cross(m.v2, m.v3));
  const Real sum = m.off.x + m.off.y + m.off.z;
  return instance.mesh && instance.seenByCamera && !instance.mesh->triangles.empty() && std::isfinite(det) &&
         std::isfinite(sum) && std::abs(det) > 1e-30;
}

std::size_t materialOf(const Instance& instance, std::size_t group, std::size_t count) {
  const int index = group < instance.materials.size() ? instance.materials[group] : 0;
  return index >= 0 && static_cast<std::size_t>(index) < count ? static_cast<std::size_t>(index) : 0;
}

std::vector<bool> usedMaterials(const Snapshot& s) {
  std::vector<bool> used(std::max<std::size_t>(1, s.materials.size()));
  for (const Instance& instance : s.instances)
    for (std::size_t g = 0; usable(instance) && g < instance.mesh->groups.size(); ++g)
      used[materialOf(instance, g, used.size())] = true;
  return used;
}

Float4 with(Vec3 v, float w) {
  return {v.x, v.y, v.z, w};
}

std::array<float, 9> harmonics(Vec3 n) {
  return {0.282095f,
          0.488603f * n.y,
          0.488603f * n.z,
          0.488603f * n.x,
          1.092548f * n.x * n.y,
          1.092548f * n.y * n.z,
          0.315392f * (3 * n.z * n.z - 1),
          1.092548f * n.x * n.z,
          0.546274f * (n.x * n.x - n.y * n.y)};
}

} // namespace

BuiltScene<GlScene> GlScene::build(SnapshotPtr snapshot, const RenderSettings& settings, int units,
                                   const Stopped& stopped) {
  BuiltScene<GlScene> built;
  std::unique_ptr<GlScene> scene(new GlScene);
  scene->snapshot_ = std::move(snapshot);
  const Snapshot& s = *scene->snapshot_;
  const std::vector<bool> used = usedMaterials(s);
  MaterialCompiler pictures(s.materials, used, settings.view.config);
  const bool skyPicture = s.sky.kind == SkyKind::picture && s.sky.picture && s.sky.picture->bytes;
  const std::size_t skyPlace = skyPicture ? pictures.request(s.sky.picture, ColorSpace::srgb) : 0;
  SceneCache::Textures textures = SceneCache::shared().textures(pictures.requests(), workerCount(), stopped);
  built.note(textures);
  if (!textures.complete) return built;
  if (skyPicture) scene->skyTexture_ = textures.list[skyPlace];
  const FindTexture find = [&](const PicturePtr& picture, ColorSpace space) {
    const std::size_t place = picture->bytes ? pictures.request(picture, space) : textures.list.size();
    return place < textures.list.size() ? textures.list[place] : nullptr;
  };
  scene->materials_.resize(used.size());
  for (std::size_t i = 0; i < used.size(); ++i)
    if (used[i])
      scene->materials_[i] =
          makeGlMaterial(i < s.materials.size() && s.materials[i] ? *s.materials[i] : SurfaceMaterial(),
                         settings, units, find);
  scene->setView();
  scene->setLight();
  for (const Instance& instance : s.instances)
    if (usable(instance)) built.counts.triangles += instance.mesh->triangles.size();
  if (scene->addDraws(stopped)) built.scene = std::move(scene);
  return built;
}

void GlScene::setView() {
  const Matrix& camera = snapshot_->camera.toWorld;
  eye_ = camera.off;
  right_ = normalize(Vec3(camera.v1));
  up_ = normalize(Vec3(camera.v2));
  back_ = normalize(Vec3(camera.v3));
}

bool GlScene::addDraws(const Stopped& stopped) {
  for (const Instance& instance : snapshot_->instances) {
    if (stopped && stopped()) return false;
    if (usable(instance)) addInstance(instance);
  }
  for (GlDraw& draw : blended_)
    if (!sortTriangles(draw, stopped)) return false;
  std::stable_sort(opaque_.begin(), opaque_.end(),
                   [](const GlDraw& a, const GlDraw& b) { return a.depth < b.depth; });
  std::stable_sort(blended_.begin(), blended_.end(),
                   [](const GlDraw& a, const GlDraw& b) { return a.depth > b.depth; });
  return true;
}

void GlScene::addInstance(const Instance& instance) {
  const Mesh& mesh = *instance.mesh;
  Matrix m = instance.toWorld;
  m.off = m.off - eye_;
  GlDraw draw;
  draw.mesh = &mesh;
  draw.toEye = Transform(m);
  draw.side = Dot(m.v1, Cross(m.v2, m.v3)) < 0 ? -1.0f : 1.0f;
  draw.depth = -dot(draw.toEye.point((Vec3(mesh.low) + Vec3(mesh.high)) * 0.5f), back_);
  addCorners(draw);
  for (std::size_t g = 0; g < mesh.groups.size(); ++g) {
    draw.firstTriangle = mesh.groups[g].firstTriangle;
    draw.triangleCount = mesh.groups[g].triangleCount;
    if (draw.triangleCount == 0) continue;
    draw.material = materialOf(instance, g, materials_.size());
    (materials_[draw.material].blended ? blended_ : opaque_).push_back(draw);
  }
}

// Extends the range of depths by the corners of the mesh's bounds.
void GlScene::addCorners(const GlDraw& draw) {
  const Mesh& mesh = *draw.mesh;
  for (int corner = 0; corner < 8; ++corner) {
    const Vec3 p((corner & 1 ? mesh.high : mesh.low)[0], (corner & 2 ? mesh.high : mesh.low)[1],
                 (corner & 4 ? mesh.high : mesh.low)[2]);
    const float depth = -dot(draw.toEye.point(p), back_);
    nearest_ = std::min(nearest_, depth);
    farthest_ = std::max(farthest_, depth);
  }
}

// Far triangles first. The group's depth becomes the mean depth of its triangles.
bool GlScene::sortTriangles(GlDraw& draw, const Stopped& stopped) const {
  const Mesh& mesh = *draw.mesh;
  std::vector<float> depth(draw.triangleCount);
  double sum = 0;
  for (std::uint32_t i = 0; i < draw.triangleCount; ++i) {
    if (i % 65536 == 0 && stopped && stopped()) return false;
    const auto& c = mesh.triangles[draw.firstTriangle + i];
    const Vec3 p = (Vec3(mesh.positions[c[0]]) + Vec3(mesh.positions[c[1]]) + Vec3(mesh.positions[c[2]])) / 3;
    depth[i] = -dot(draw.toEye.point(p), back_);
    if (!std::isfinite(depth[i])) depth[i] = 0;
    sum += static_cast<double>(depth[i]);
  }
  std::vector<std::uint32_t> order(draw.triangleCount);
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::uint32_t a, std::uint32_t b) { return depth[a] > depth[b]; });
  draw.sorted.reserve(order.size() * 3);
  for (const std::uint32_t i : order) {
    const auto& c = mesh.triangles[draw.firstTriangle + i];
    draw.sorted.insert(draw.sorted.end(), c.begin(), c.end());
  }
  draw.depth = static_cast<float>(sum / draw.triangleCount);
  return true;
}

void GlScene::setLight() {
  const RenderSky sky(snapshot_->sky, skyTexture_);
  if (sky.present()) setAmbient(sky);
  // The lamps that contribute most in the middle of the scene.
  const Vec3 middle = (Vec3(snapshot_->low) + Vec3(snapshot_->high)) * 0.5f;
  std::vector<std::pair<float, const SnapshotLight*>> lamps;
  for (const SnapshotLight& light : snapshot_->lights) {
    const Vec3 to = Vec3(light.toWorld.off) - middle, power(light.intensity);
    if (isBlack(power) || !finite(power) || !finite(to)) continue;
    const float far = light.kind == LightKind::distant ? 1 : std::max(1e-6f, dot(to, to));
    lamps.emplace_back(luminance(power) / far, &light);
  }
  std::stable_sort(lamps.begin(), lamps.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  if (lamps.size() > mostGlLights) lamps.resize(mostGlLights);
  for (const auto& [importance, light] : lamps) {
    const Vec3 axis = -normalize(Vec3(light->toWorld.v3));
    const bool distant = light->kind == LightKind::distant;
    const Vec3 place = distant ? -axis : Vec3(light->toWorld.off - eye_);
    // A rectangle or disc is drawn as a spot whose light falls with the squared cosine.
    const bool area = light->kind == LightKind::rectangle || light->kind == LightKind::disc;
    const bool spot = light->kind == LightKind::spot;
    lamps_.push_back(with(place, distant ? 2.0f : spot || area ? 1.0f : 0.0f));
    lamps_.push_back(with(Vec3(light->intensity), std::max(0.0f, light->range)));
    lamps_.push_back(with(axis, area ? 0.0f : std::cos(light->outerCone)));
    lamps_.push_back({area ? 1.0f : std::cos(light->innerCone), 0, 0, 0});
  }
  if (!lamps_.empty() || sky.present()) return;
  // Without a lamp and a sky: a lamp beside the viewer, like the software preview.
  lamps_ = {with(back_, 2), with(Vec3(0.6f * pi), 0), {}, {}};
  ambient_[0] = Vec3(0.4f / 0.282095f);
}

void GlScene::setAmbient(const RenderSky& sky) {
  int level = 0, width = 64, height = 32;
  const bool picture = snapshot_->sky.kind == SkyKind::picture && skyTexture_;
  if (picture) {
    while (level + 1 < skyTexture_->levelCount() && skyTexture_->levelWidth(level) > 128)
      ++level;
    width = skyTexture_->levelWidth(level), height = skyTexture_->levelHeight(level);
  }
  double whole = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const float theta = (static_cast<float>(y) + 0.5f) / static_cast<float>(height) * pi;
      const float turn = ((static_cast<float>(x) + 0.5f) / static_cast<float>(width) - 0.5f) * 2 * pi -
                         (picture ? snapshot_->sky.rotation : 0);
      const float sine = std::sin(theta);
      const Vec3 d{sine * std::sin(turn), std::cos(theta), -sine * std::cos(turn)};
      Vec3 c = sky.radiance(d);
      if (picture) {
        const Rgba t = skyTexture_->texel(level, x, y);
        c = Vec3(snapshot_->sky.color) * Vec3(t.r, t.g, t.b);
      }
      const std::array<float, 9> y9 = harmonics(d);
      for (std::size_t i = 0; i < 9; ++i)
        ambient_[i] += c * (y9[i] * sine);
      whole += static_cast<double>(sine);
    }
  // The cosine lobe's weights over pi: 1, 2/3, 1/4.
  const float solid = static_cast<float>(4 * static_cast<double>(pi) / whole);
  for (std::size_t i = 0; i < 9; ++i)
    ambient_[i] *= solid * (i == 0 ? 1.0f : (i < 4 ? 2.0f / 3 : 0.25f));
}

std::array<float, 16> GlScene::clipMatrix(int width, int height, Vec2 scale, Vec2 offset) const {
  const SnapshotCamera& c = snapshot_->camera;
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  const float half = halfHeight(c, aspect);
  const float closest = std::max(c.orthographic ? 0.0f : 1e-4f, c.znear);
  const bool ends = c.zfar > c.znear;
  // The near plane is as far as the scene allows: distant surfaces keep different depths.
  const float n = std::max(closest, std::min(nearest_ * 0.99f - 1e-3f, 1e9f));
  const float f = std::max(n * 1.001f + 1e-3f, ends ? c.zfar : farthest_ * 1.01f + 1);
  // Rows over (right, up, depth along the view).
  const Vec3 forward = -back_;
  const Vec3 rowX = right_ * (1 / (half * aspect)), rowY = up_ * (1 / half);
  Vec3 x, y, z, w;
  float x1 = 0, y1 = 0, z1 = 0, w1 = 0;
  if (c.orthographic) {
    x = rowX * scale.x, y = rowY * scale.y;
    x1 = offset.x - 2 * c.shiftX * scale.x, y1 = offset.y - 2 * c.shiftY * scale.y;
    z = -forward / (f - n), z1 = f / (f - n);
    w1 = 1;
  } else {
    x = rowX * scale.x + forward * (offset.x - 2 * c.shiftX * scale.x);
    y = rowY * scale.y + forward * (offset.y - 2 * c.shiftY * scale.y);
    z = -forward * (n / (f - n)), z1 = n * f / (f - n);
    w = forward;
  }
  return {x.x, y.x, z.x, w.x, x.y, y.y, z.y, w.y, x.z, y.z, z.z, w.z, x1, y1, z1, w1};
}

} // namespace host::render
