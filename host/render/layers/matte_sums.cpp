#include "matte_sums.h"

#include <algorithm>

#include "cryptomatte.h"

namespace host::render {

MatteSums::MatteSums(const RenderSettings& settings, const RayScene& scene, std::size_t pixels)
    : scene_(scene) {
  if (!(settings.wantedLayers() & cryptomatteLayers)) return;
  pixels_.resize(pixels);
  for (const std::string& name : scene.snapshot().names)
    names_.push_back(matteNumber(name));
  for (const SurfaceMaterialPtr& material : scene.snapshot().materials)
    materials_.push_back(matteNumber(material->name));
}

void MatteSums::add(std::size_t pixel, const PathResult& sample, float weight) {
  Pixel& to = pixels_[pixel];
  to.weight += weight;
  if (sample.alpha <= 0) return;
  const std::uint32_t object = sample.object, material = sample.first.material;
  const auto known = std::find_if(to.covers.begin(), to.covers.end(), [&](const Cover& cover) {
    return cover.object == object && cover.material == material;
  });
  if (known == to.covers.end())
    to.covers.push_back({object, material, weight});
  else
    known->weight += weight;
}

void MatteSums::addLayers(Film& film) {
  if (!any()) return;
  const char* names[kindCount] = {"crypto_object", "crypto_material", "crypto_asset"};
  std::array<std::vector<std::string>, kindCount> contents;
  const Snapshot& snapshot = scene_.snapshot();
  for (const Instance& instance : snapshot.instances) {
    contents[ofObjects].push_back(snapshot.names[instance.name]);
    contents[ofAssets].push_back(snapshot.names[instance.asset]);
  }
  for (const SurfaceMaterialPtr& one : snapshot.materials)
    contents[ofMaterials].push_back(one->name);
  for (std::size_t kind = 0; kind < kindCount; ++kind) {
    for (std::size_t level = 0; level < levels; ++level)
      layers_[kind][level] = film.addLayer(names[kind] + ("0" + std::to_string(level)), "RGBA");
    for (const auto& [key, text] : matteAttributes(names[kind], contents[kind]))
      film.setNote(key, text);
  }
}

int MatteSums::mostCovers() const {
  std::size_t most = 0;
  for (const Pixel& pixel : pixels_)
    most = std::max(most, pixel.covers.size());
  return static_cast<int>(most);
}

bool MatteSums::isKnown(const Cover& cover) const {
  return cover.object < scene_.placedCount() && cover.material < materials_.size();
}

float MatteSums::numberOf(Kind kind, const Cover& cover) const {
  if (kind == ofMaterials) return materials_[cover.material];
  const Instance& instance = *scene_.placed({0, 0, 0, cover.object, 0}).source;
  return names_[kind == ofObjects ? instance.name : instance.asset];
}

// The largest shares of a pixel, of which several covers may have one number.
void MatteSums::rank(Kind kind, const Pixel& pixel, std::array<Share, ranks>& out) const {
  std::vector<Share> shares;
  for (const Cover& cover : pixel.covers) {
    const float number = numberOf(kind, cover), part = cover.weight / pixel.weight;
    const auto known = std::find_if(shares.begin(), shares.end(),
                                    [number](const Share& share) { return share.number == number; });
    if (known == shares.end())
      shares.push_back({number, part});
    else
      known->part += part;
  }
  std::stable_sort(shares.begin(), shares.end(),
                   [](const Share& a, const Share& b) { return a.part > b.part; });
  for (std::size_t i = 0; i < std::min(shares.size(), out.size()); ++i)
    if (shares[i].part > 0) out[i] = {shares[i].number, std::min(shares[i].part, 1.0f)};
}

void MatteSums::put(std::size_t filmPixel, std::size_t pixel) {
  if (!any()) return;
  for (std::size_t kind = 0; kind < kindCount; ++kind) {
    std::array<Share, ranks> shares{};
    if (pixels_[pixel].weight > 0) rank(static_cast<Kind>(kind), pixels_[pixel], shares);
    for (std::size_t level = 0; level < levels; ++level) {
      const Share &first = shares[2 * level], &second = shares[2 * level + 1];
      const float values[4] = {first.number, first.part, second.number, second.part};
      layers_[kind][level]->set(filmPixel, values);
    }
  }
}

} // namespace host::render
