#include "layer_sums.h"

#include <utility>

#include "cryptomatte.h"

namespace host::render {
namespace {

void set(const FilmLayerPtr& layer, std::size_t pixel, Vec3 value) {
  if (layer) layer->set(pixel, &value.x);
}
void set(const FilmLayerPtr& layer, std::size_t pixel, float value) {
  if (layer) layer->set(pixel, &value);
}

} // namespace

LayerSums::LayerSums(const RenderSettings& settings, const LayerFacts& facts, std::size_t pixels)
    : wanted_(settings.wantedLayers()), origin_(facts.origin), hits_(settings, pixels),
      lights_(settings, facts.groups, pixels), mattes_(settings, facts.mattes, pixels),
      shadows_(facts.catchesShadows, pixels) {
}

void LayerSums::addLayers(Film& film) {
  const std::pair<LayerBit, FilmLayerPtr&> single[] = {
      {albedoLayer, albedo_},     {normalLayer, normal_},   {depthLayer, depth_},
      {positionLayer, position_}, {uvLayer, uv_},           {objectLayer, object_},
      {materialLayer, material_}, {samplesLayer, samples_}, {noiseLayer, noise_}};
  for (const auto& [bit, layer] : single) {
    const LayerInfo& info = layerInfo(bit);
    if (wanted_ & bit) layer = film.addLayer(info.name, info.channels);
  }
  lights_.addLayers(film);
  mattes_.addLayers(film);
  shadows_.addLayers(film);
}

// "object_id/names" and "material_id/names": JSON objects with a name for each number.
void LayerSums::addNames(Film& film, const RayScene& scene) const {
  const Snapshot& snapshot = scene.snapshot();
  if (mattes_.any()) MatteSums::addManifests(film, snapshot);
  const auto note = [&film](LayerBit layer, std::size_t count, auto&& name, auto&& node) {
    const std::string key = layerInfo(layer).name;
    std::string names = "{";
    for (std::size_t i = 0; i < count; ++i)
      names += (i == 0 ? "\"" : ",\"") + std::to_string(i + 1) + "\":" + jsonText(name(i));
    film.setNote(key + "/names", names + "}");
    std::vector<std::uint64_t> nodes(count);
    for (std::size_t i = 0; i < count; ++i)
      nodes[i] = node(i);
    film.setNodes(key, std::move(nodes));
  };
  const auto placed = [&scene](std::size_t i) -> const Instance& {
    return *scene.placed({0, 0, 0, static_cast<std::uint32_t>(i), 0}).source;
  };
  if (wanted_ & objectLayer)
    note(
        objectLayer, scene.placedCount(), [&](std::size_t i) { return snapshot.names[placed(i).name]; },
        [&](std::size_t i) { return placed(i).object; });
  if (wanted_ & materialLayer)
    note(
        materialLayer, snapshot.materials.size(), [&](std::size_t i) { return snapshot.materials[i]->name; },
        [&](std::size_t i) { return snapshot.materials[i]->id; });
}

void LayerSums::put(std::size_t filmPixel, std::size_t pixel, const PixelEstimate& estimate) {
  shadows_.put(filmPixel, pixel);
  if (wanted_ == 0) return;
  if (albedo_) set(albedo_, filmPixel, hits_.albedo(pixel));
  if (normal_) set(normal_, filmPixel, hits_.normal(pixel));
  if (depth_) set(depth_, filmPixel, hits_.depth(pixel));
  if (position_) set(position_, filmPixel, hits_.position(pixel, origin_));
  if (object_) set(object_, filmPixel, static_cast<float>(hits_.object(pixel)));
  if (material_) set(material_, filmPixel, static_cast<float>(hits_.material(pixel)));
  set(samples_, filmPixel, static_cast<float>(estimate.count()));
  if (uv_) {
    const Vec2 uv = hits_.uv(pixel);
    uv_->set(filmPixel, &uv.x);
  }
  lights_.put(filmPixel, pixel, estimate);
  mattes_.put(filmPixel, pixel);
}

void LayerSums::putNoise(std::size_t filmPixel, float error) {
  set(noise_, filmPixel, error);
}

} // namespace host::render
