// The layers that a film can have beside its colour. The renderer, the writer of files, the command line and
// Studio all use this table. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace host {

/// Bits of the setting that asks for layers. They are stored in documents and never change.
enum LayerBit : unsigned {
  albedoLayer = 1u << 0,
  normalLayer = 1u << 1,
  depthLayer = 1u << 2,
  objectLayer = 1u << 3,
  materialLayer = 1u << 4,
  positionLayer = 1u << 5,
  uvLayer = 1u << 6,
  diffuseDirectLayer = 1u << 7, // seven ways of light follow one another; their sum is the colour
  diffuseIndirectLayer = 1u << 8,
  specularDirectLayer = 1u << 9,
  specularIndirectLayer = 1u << 10,
  transmissionLayer = 1u << 11,
  emissionLayer = 1u << 12,
  skyLayer = 1u << 13,
  samplesLayer = 1u << 14,
  noiseLayer = 1u << 15,
  lightGroupLayers = 1u << 16,
  cryptomatteLayers = 1u << 17,
  denoisedLayer = 1u << 18
};

/// How a pixel's value comes from its samples.
enum class LayerSum : std::uint8_t {
  mean,    // of all samples, weighed by the filter as the colour is, where they add up to it
  hitMean, // of the samples that met a surface
  first,   // the first sample's
  pixel,   // a property of the pixel
  shares   // of the samples, weighed by the filter
};

/// A layer, or several of one kind.
struct LayerInfo {
  LayerBit bit;
  const char* name;     // of the layer in film and files, and on the command line
  const char* channels; // a letter for each
  LayerSum sum;
  bool color;        // may be stored as 16-bit floats; the others are numbers
  const char* label; // for users
};

/// In the order in which users read them.
std::span<const LayerInfo> layerTable() noexcept;
const LayerInfo& layerInfo(LayerBit bit) noexcept;
/// All bits of the table.
unsigned allLayers() noexcept;
/// "denoised, albedo, normal ...": the names for the command line.
std::string layerNames();

/// The bits of a list of names with commas between them, or of "all". Nothing when a name is unknown or
/// empty; `unknown` then gets it.
std::optional<unsigned> layersOf(std::string_view list, std::string& unknown);

/// Several layers share each of these beginnings of names.
inline constexpr char lightGroupPrefix[] = "lightgroup_";
inline constexpr char cryptomattePrefix[] = "crypto_";
/// Whether a film's layer of this name holds colours, which a file may keep as 16-bit floats.
bool isColorLayer(std::string_view name) noexcept;

} // namespace host
