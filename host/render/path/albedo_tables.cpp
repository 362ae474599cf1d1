#include "albedo_tables.h"

#include <map>
#include <mutex>

#include "ggx.h"
#include "sheen.h"

namespace host::render {
namespace {

constexpr int grid = 16; // samples a table entry: grid * grid

// The mean over the visible normals of `weight(wo, h, wi)`.
template <class Weight>
float average(float cosine, float roughness, Weight&& weight) {
  const float alpha = std::max(1e-4f, roughness * roughness);
  const Vec3 wo{std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine};
  float sum = 0;
  for (int i = 0; i < grid; ++i)
    for (int j = 0; j < grid; ++j) {
      const Vec2 u{(static_cast<float>(i) + 0.5f) / grid, (static_cast<float>(j) + 0.5f) / grid};
      sum += weight(wo, sampleVisibleNormal(wo, alpha, u), alpha);
    }
  return sum / (grid * grid);
}

float reflected(Vec3 wo, Vec3 h, float alpha) {
  const Vec3 wi = h * (2 * dot(wo, h)) - wo;
  return wi.z > 0 ? ggxG2(wo, wi, alpha) / ggxG1(wo, alpha) : 0;
}

float refracted(Vec3 wo, Vec3 h, float alpha, float eta) {
  const float c = dot(wo, h), sin2 = (1 - c * c) / (eta * eta);
  if (sin2 >= 1) return 0;
  const Vec3 wi = h * (c / eta - std::sqrt(1 - sin2)) - wo * (1 / eta);
  return wi.z < 0 ? ggxG2(wo, wi, alpha) / ggxG1(wo, alpha) : 0;
}

} // namespace

const ReflectionAlbedo& reflectionAlbedo() {
  static const ReflectionAlbedo tables{AlbedoTable([](float cosine, float roughness) {
                                         return average(cosine, roughness, [](Vec3 wo, Vec3 h, float alpha) {
                                           return reflected(wo, h, alpha) * (1 - schlick(dot(wo, h)));
                                         });
                                       }),
                                       AlbedoTable([](float cosine, float roughness) {
                                         return average(cosine, roughness, [](Vec3 wo, Vec3 h, float alpha) {
                                           return reflected(wo, h, alpha) * schlick(dot(wo, h));
                                         });
                                       })};
  return tables;
}

const AlbedoTable& sheenAlbedo() {
  constexpr int fine = 2 * grid; // directions around a grazing highlight
  static const AlbedoTable table([](float cosine, float roughness) {
    const float alpha = sheenAlpha(roughness);
    const Vec3 wo{std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine};
    float sum = 0;
    for (int i = 0; i < fine; ++i)
      for (int j = 0; j < fine; ++j) {
        const float z = (static_cast<float>(i) + 0.5f) / fine, r = std::sqrt(1 - z * z);
        const float angle = pi * (static_cast<float>(j) + 0.5f) / fine; // half: both sides are alike
        sum += sheenValue(wo, {r * std::cos(angle), r * std::sin(angle), z}, alpha);
      }
    return sum * 2 * pi / (fine * fine);
  });
  return table;
}

std::shared_ptr<const AlbedoTable> glassAlbedo(float eta) {
  static std::mutex mutex;
  static std::map<float, std::shared_ptr<const AlbedoTable>> known;
  const std::lock_guard lock(mutex);
  if (const auto it = known.find(eta); it != known.end()) return it->second;
  if (known.size() >= 64) known.clear(); // running renders hold the tables they use
  auto table = std::make_shared<const AlbedoTable>([eta](float cosine, float roughness) {
    return average(cosine, roughness, [eta](Vec3 wo, Vec3 h, float alpha) {
      const float f = fresnel(dot(wo, h), eta);
      return f * reflected(wo, h, alpha) + (1 - f) * refracted(wo, h, alpha, eta);
    });
  });
  known.emplace(eta, table);
  return table;
}

} // namespace host::render
