#include "matte_sums.h"

#include <algorithm>
#include <utility>

#include "cryptomatte.h"

namespace host::render {

namespace {

constexpr const char* layerNames[] = {"crypto_object", "crypto_material", "crypto_asset"};

} // namespace

MatteNumbers matteNumbersOf(const RayScene& scene) {
  const Snapshot& snapshot = scene.snapshot();
  MatteNumbers numbers;
  std::vector<float> names;
  for (const std::string& name : snapshot.names)
    names.push_back(matteNumber(name));
  for (std::size_t i = 0; i < scene.placedCount(); ++i) {
    const Instance& instance = *scene.placed({0, 0, 0, static_cast<std::uint32_t>(i), 0}).source;
    numbers.objects.push_back(names[instance.name]);
    numbers.assets.push_back(names[instance.asset]);
  }
  for (const SurfaceMaterialPtr& material : snapshot.materials)
    numbers.materials.push_back(matteNumber(material->name));
  return numbers;
}

MatteSums::MatteSums(const RenderSettings& settings, MatteNumbers numbers, std::size_t pixels)
    : numbers_(std::move(numbers)) {
  if (settings.wantedLayers() & cryptomatteLayers) pixels_.resize(pixels);
}

void MatteSums::add(std::size_t pixel, const PathResult& sample, float weight) {
  Pixel& to = pixels_[pixel];
  to.weight += weight;
  if (sample.alpha <= 0) return;
  addCover(to, sample.object, sample.first.material, weight);
}

void MatteSums::add(std::size_t pixel, const MatteSums& from, std::size_t other) {
  if (!any()) return;
  pixels_[pixel].weight += from.pixels_[other].weight;
  for (const Cover& cover : from.pixels_[other].covers)
    addCover(pixels_[pixel], cover.object, cover.material, cover.weight);
}

void MatteSums::addCover(Pixel& to, std::uint32_t object, std::uint32_t material, float weight) {
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
  for (std::size_t kind = 0; kind < kindCount; ++kind)
    for (std::size_t level = 0; level < levels; ++level)
      layers_[kind][level] = film.addLayer(layerNames[kind] + ("0" + std::to_string(level)), "RGBA");
}

void MatteSums::addManifests(Film& film, const Snapshot& snapshot) {
  std::array<std::vector<std::string>, kindCount> contents;
  for (const Instance& instance : snapshot.instances) {
    contents[ofObjects].push_back(snapshot.names[instance.name]);
    contents[ofAssets].push_back(snapshot.names[instance.asset]);
  }
  for (const SurfaceMaterialPtr& one : snapshot.materials)
    contents[ofMaterials].push_back(one->name);
  for (std::size_t kind = 0; kind < kindCount; ++kind)
    for (const auto& [key, text] : matteAttributes(layerNames[kind], contents[kind]))
      film.setNote(key, text);
}

int MatteSums::mostCovers() const {
  std::size_t most = 0;
  for (const Pixel& pixel : pixels_)
    most = std::max(most, pixel.covers.size());
  return static_cast<int>(most);
}

bool MatteSums::isKnown(const Cover& cover) const {
  return cover.object < numbers_.objects.size() && cover.material < numbers_.materials.size();
}

float MatteSums::numberOf(Kind kind, const Cover& cover) const {
  if (kind == ofMaterials) return numbers_.materials[cover.material];
  return kind == ofObjects ? numbers_.objects[cover.object] : numbers_.assets[cover.object];
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
