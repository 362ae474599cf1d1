#include "scene_kit.h"

#include <cmath>
#include <cstring>

#include "sampler.h"

namespace kit {
namespace {

void setBounds(Mesh& mesh) {
  mesh.low = mesh.high = mesh.positions.front();
  for (const Float3& p : mesh.positions)
    for (std::size_t i = 0; i < 3; ++i) {
      mesh.low[i] = std::min(mesh.low[i], p[i]);
      mesh.high[i] = std::max(mesh.high[i], p[i]);
    }
}

Float3 toFloat3(Vec3 v) {
  return {v.x, v.y, v.z};
}

PicturePtr wrap(std::vector<unsigned char> bytes, const char* name) {
  auto data = std::make_shared<std::vector<std::byte>>(bytes.size());
  std::memcpy(data->data(), bytes.data(), bytes.size());
  auto p = std::make_shared<Picture>();
  p->name = name;
  p->bytes = data;
  return p;
}

} // namespace

MeshPtr quad(Vec3 corner, Vec3 u, Vec3 v) {
  auto mesh = std::make_shared<Mesh>();
  mesh->positions = {toFloat3(corner), toFloat3(corner + u), toFloat3(corner + u + v), toFloat3(corner + v)};
  mesh->uv[0] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  mesh->triangles = {{0, 1, 2}, {0, 2, 3}};
  mesh->groups = {{0, 2}};
  setBounds(*mesh);
  return mesh;
}

MeshPtr ball(float radius, int rings) {
  auto mesh = std::make_shared<Mesh>();
  const int columns = 2 * rings;
  for (int i = 0; i <= rings; ++i)
    for (int j = 0; j <= columns; ++j) {
      const float theta = render::pi * static_cast<float>(i) / static_cast<float>(rings);
      const float phi = 2 * render::pi * static_cast<float>(j) / static_cast<float>(columns);
      const Vec3 n{std::sin(theta) * std::cos(phi), std::cos(theta), std::sin(theta) * std::sin(phi)};
      mesh->positions.push_back(toFloat3(n * radius));
      mesh->normals.push_back(toFloat3(n));
    }
  const auto at = [&](int i, int j) { return static_cast<std::uint32_t>(i * (columns + 1) + j); };
  for (int i = 0; i < rings; ++i)
    for (int j = 0; j < columns; ++j) {
      if (i > 0) mesh->triangles.push_back({at(i, j), at(i, j + 1), at(i + 1, j)});
      if (i + 1 < rings) mesh->triangles.push_back({at(i, j + 1), at(i + 1, j + 1), at(i + 1, j)});
    }
  mesh->groups = {{0, static_cast<std::uint32_t>(mesh->triangles.size())}};
  setBounds(*mesh);
  return mesh;
}

// An uncompressed TGA of 32 bits, rows from the top.
PicturePtr picture(int width, int height, const std::function<std::array<int, 4>(int, int)>& pixel) {
  std::vector<unsigned char> bytes(18);
  bytes[2] = 2;
  bytes[12] = static_cast<unsigned char>(width & 255), bytes[13] = static_cast<unsigned char>(width >> 8);
  bytes[14] = static_cast<unsigned char>(height & 255), bytes[15] = static_cast<unsigned char>(height >> 8);
  bytes[16] = 32, bytes[17] = 0x28;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto p = pixel(x, y);
      for (const std::size_t channel : {2u, 1u, 0u, 3u})
        bytes.push_back(static_cast<unsigned char>(p[channel]));
    }
  return wrap(std::move(bytes), "picture.tga");
}

// A Radiance picture with plain scanlines.
PicturePtr floatPicture(int width, int height, const std::function<Vec3(int, int)>& pixel) {
  const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(height) + " +X " +
                           std::to_string(width) + "\n";
  std::vector<unsigned char> bytes(head.begin(), head.end());
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Vec3 c = pixel(x, y);
      int exponent = 0;
      const float largest = std::max(1e-9f, render::maxComponent(c));
      const float scale = std::frexp(largest, &exponent) * 256 / largest;
      for (const float v : {c.x, c.y, c.z})
        bytes.push_back(static_cast<unsigned char>(std::min(255.0f, v * scale)));
      bytes.push_back(static_cast<unsigned char>(exponent + 128));
    }
  return wrap(std::move(bytes), "sky.hdr");
}

Scene::Scene() {
  addMaterial();
  lookAt({0, 0, 5}, {0, 0, 0}, false, 0.8f);
}

SurfaceMaterial& Scene::addMaterial(int* index) {
  auto m = std::make_shared<SurfaceMaterial>();
  m->id = newIdentity();
  if (index) *index = static_cast<int>(materials.size());
  materials.push_back(m);
  snapshot->materials.push_back(m);
  return *m;
}

Instance& Scene::add(MeshPtr mesh, int material, const Matrix& toWorld) {
  Instance instance;
  instance.object = newIdentity();
  instance.materials.assign(mesh->groups.size(), material);
  instance.mesh = std::move(mesh);
  instance.toWorld = toWorld;
  snapshot->instances.push_back(std::move(instance));
  return snapshot->instances.back();
}

SnapshotLight& Scene::addLight(LightKind kind, Vec3 position, Vec3 towards, float intensity) {
  SnapshotLight light;
  light.kind = kind;
  light.intensity = {intensity, intensity, intensity};
  const render::Frame frame(render::normalize(position - towards)); // shines along its -Z
  const auto wide = [](Vec3 v) { return Vector(v.x, v.y, v.z); };
  light.toWorld = Matrix(wide(position), wide(frame.s), wide(frame.t), wide(frame.n));
  snapshot->lights.push_back(light);
  return snapshot->lights.back();
}

void Scene::sky(float radiance) {
  snapshot->sky.kind = SkyKind::constant;
  snapshot->sky.color = {radiance, radiance, radiance};
}

void Scene::lookAt(Vec3 from, Vec3 to, bool orthographic, float size) {
  SnapshotCamera& c = snapshot->camera;
  const Vec3 back = render::normalize(from - to);
  const Vec3 up = std::abs(back.y) > 0.99f ? Vec3(0, 0, -1) : Vec3(0, 1, 0);
  const Vec3 right = render::normalize(render::cross(up, back));
  const auto wide = [](Vec3 v) { return Vector(v.x, v.y, v.z); };
  c.toWorld = Matrix(wide(from), wide(right), wide(render::cross(back, right)), wide(back));
  c.orthographic = orthographic;
  (orthographic ? c.ymag : c.yfov) = size;
}

Vec3 Result::at(int x, int y) const {
  const float* p = &pixels[4 * static_cast<std::size_t>(y * width + x)];
  return {p[0], p[1], p[2]};
}
float Result::alpha(int x, int y) const {
  return pixels[4 * static_cast<std::size_t>(y * width + x) + 3];
}
std::vector<float> Result::layer(const char* name, int x, int y) const {
  const FilmLayerPtr found = film ? film->findLayer(name) : nullptr;
  if (!found) return {};
  std::vector<float> values(found->channels().size());
  found->get(film->pixelAt(x, y), values.data());
  return values;
}
Vec3 Result::mean() const {
  return mean(0, 0, width - 1, height - 1);
}
Vec3 Result::mean(int left, int top, int right, int bottom) const {
  double sum[3] = {0, 0, 0};
  int count = 0;
  for (int y = top; y <= bottom; ++y)
    for (int x = left; x <= right; ++x, ++count) {
      const Vec3 c = at(x, y);
      sum[0] += static_cast<double>(c.x), sum[1] += static_cast<double>(c.y),
          sum[2] += static_cast<double>(c.z);
    }
  return {static_cast<float>(sum[0] / count), static_cast<float>(sum[1] / count),
          static_cast<float>(sum[2] / count)};
}

render::RenderSettings settings(int width, int height, int samples) {
  render::RenderSettings s;
  s.region = {0, 0, width - 1, height - 1};
  s.samples = samples;
  s.noise = 0;
  s.spread = render::SampleSpread::evenly;
  s.filter = render::Filter::area;
  return s;
}

Result draw(Scene& scene, int width, int height, const render::RenderSettings& how,
            const render::RenderHooks& hooks) {
  Snapshot& s = *scene.snapshot;
  bool first = true;
  for (const Instance& i : s.instances)
    for (int corner = 0; corner < 8; ++corner) {
      const auto pick = [&](int bit, std::size_t k) {
        return static_cast<double>(corner & bit ? i.mesh->high[k] : i.mesh->low[k]);
      };
      const Vec3 p(i.toWorld * Vector(pick(1, 0), pick(2, 1), pick(4, 2)));
      const Float3 v = toFloat3(p);
      for (std::size_t k = 0; k < 3; ++k) {
        s.low[k] = first ? v[k] : std::min(s.low[k], v[k]);
        s.high[k] = first ? v[k] : std::max(s.high[k], v[k]);
      }
      first = false;
    }
  Bitmap bitmap(width, height, 32);
  Result r;
  r.width = width, r.height = height;
  render::RenderReport report = render::renderSnapshot({scene.snapshot, how, bitmap.bitmap, hooks});
  r.code = render::interfaceResult(report.outcome);
  r.stats = report.stats;
  r.problems = std::move(report.problems);
  r.pixels.resize(static_cast<std::size_t>(width * height) * 4);
  const auto film = filmOf(*bitmap.bitmap);
  r.film = film;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      UWORD red, green, blue;
      bitmap.bitmap->GetPixel(x, y, &red, &green, &blue);
      r.display.push_back(static_cast<std::uint32_t>(red << 16 | green << 8 | blue));
      if (film) film->getShown(x, y, &r.pixels[4 * static_cast<std::size_t>(y * width + x)]);
    }
  return r;
}

Result draw(Scene& scene, int size, int samples) {
  return draw(scene, size, size, settings(size, size, samples));
}

ShadePtr bitmapShade(PicturePtr picture) {
  auto shade = std::make_shared<Shade>();
  shade->kind = ShadeKind::bitmap;
  shade->texture.picture = std::move(picture);
  return shade;
}

Scene diffusePlane(float albedo) {
  Scene scene;
  scene.materials[0]->baseColor = {albedo, albedo, albedo, 1};
  scene.materials[0]->reflectionOn = false;
  scene.add(quad({-50, 0, 50}, {100, 0, 0}, {0, 0, -100}));
  scene.lookAt({0, 0.5f, 0}, {0, 0, 0}, true, 0.01f);
  return scene;
}

Scene ballInSky() {
  Scene scene;
  scene.sky(0.6f);
  scene.add(ball(1, 24));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 1.5f);
  return scene;
}

LobeSums lobeSums(const render::Bsdf& bsdf, int count) {
  LobeSums sums;
  for (int i = 0; i < count; ++i) {
    render::Sampler s(1, 2, 3, static_cast<std::uint32_t>(i));
    const render::BsdfSample b = bsdf.sample(s.next1(), s.next2());
    sums.sampled += static_cast<double>(b.weight.y) / count;
    sums.hits += static_cast<double>(b.pdf > 0) / count;
    const render::Vec2 u = s.next2();
    const float z = 1 - 2 * u.x, r = std::sqrt(std::max(0.0f, 1 - z * z)), turn = 2 * render::pi * u.y;
    float pdf = 0;
    const Vec3 f = bsdf.evaluate({r * std::cos(turn), r * std::sin(turn), z}, &pdf);
    sums.integral += static_cast<double>(f.y * 4 * render::pi) / count;
    sums.density += static_cast<double>(pdf * 4 * render::pi) / count;
  }
  return sums;
}

} // namespace kit
