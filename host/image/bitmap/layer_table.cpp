#include "layer_table.h"

#include <algorithm>

namespace host {
namespace {

constexpr LayerInfo table[] = {
    {denoisedLayer, "denoised", "RGB", LayerSum::pixel, true, "Denoised"},
    {albedoLayer, "albedo", "RGB", LayerSum::mean, true, "Albedo"},
    {normalLayer, "normal", "XYZ", LayerSum::mean, false, "Normal"},
    {depthLayer, "depth", "Z", LayerSum::hitMean, false, "Depth"},
    {positionLayer, "position", "XYZ", LayerSum::hitMean, false, "Position"},
    {uvLayer, "uv", "UV", LayerSum::first, false, "Texture Coordinates"},
    {objectLayer, "object_id", "V", LayerSum::first, false, "Object Numbers"},
    {materialLayer, "material_id", "V", LayerSum::first, false, "Material Numbers"},
    {diffuseDirectLayer, "diffuse_direct", "RGB", LayerSum::mean, true, "Diffuse, Direct"},
    {diffuseIndirectLayer, "diffuse_indirect", "RGB", LayerSum::mean, true, "Diffuse, Indirect"},
    {specularDirectLayer, "specular_direct", "RGB", LayerSum::mean, true, "Specular, Direct"},
    {specularIndirectLayer, "specular_indirect", "RGB", LayerSum::mean, true, "Specular, Indirect"},
    {transmissionLayer, "transmission", "RGB", LayerSum::mean, true, "Transmission"},
    {emissionLayer, "emission", "RGB", LayerSum::mean, true, "Emission"},
    {skyLayer, "sky", "RGB", LayerSum::mean, true, "Sky"},
    {samplesLayer, "samples", "V", LayerSum::pixel, false, "Samples"},
    {noiseLayer, "noise", "V", LayerSum::pixel, false, "Noise"},
    {lightGroupLayers, "lightgroups", "RGB", LayerSum::mean, true, "Light Groups"},
    {cryptomatteLayers, "cryptomatte", "RGBA", LayerSum::shares, false, "Cryptomatte"},
};

} // namespace

std::span<const LayerInfo> layerTable() noexcept {
  return table;
}

const LayerInfo& layerInfo(LayerBit bit) noexcept {
  return *std::find_if(std::begin(table), std::end(table) - 1,
                       [bit](const LayerInfo& layer) { return layer.bit == bit; });
}

unsigned allLayers() noexcept {
  unsigned bits = 0;
  for (const LayerInfo& layer : table)
    bits |= layer.bit;
  return bits;
}

std::string layerNames() {
  std::string names;
  for (const LayerInfo& layer : table)
    names += (names.empty() ? "" : ", ") + std::string(layer.name);
  return names;
}

std::optional<unsigned> layersOf(std::string_view list, std::string& unknown) {
  if (list == "all") return allLayers();
  unsigned bits = 0;
  for (std::size_t at = 0; at <= list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    const std::string_view name = list.substr(at, end - at);
    const auto* known = std::find_if(std::begin(table), std::end(table),
                                     [name](const LayerInfo& layer) { return layer.name == name; });
    if (known == std::end(table)) {
      unknown = name;
      return std::nullopt;
    }
    bits |= known->bit;
    at = end + 1;
  }
  return bits;
}

bool isColorLayer(std::string_view name) noexcept {
  if (name.starts_with(lightGroupPrefix)) return true;
  return std::any_of(std::begin(table), std::end(table),
                     [name](const LayerInfo& layer) { return layer.color && layer.name == name; });
}

} // namespace host
