#include "shown_layers.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "layer_table.h"

namespace host {

namespace {

bool begins(std::string_view text, std::string_view with) {
  return text.substr(0, with.size()) == with;
}

std::string lower(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// The names of ID mattes that the film's notes describe.
std::set<std::string> matteNames(const Film& film) {
  std::set<std::string> names;
  for (const auto& [key, text] : film.notes())
    if (begins(key, "cryptomatte/") && key.ends_with("/name")) names.insert(text);
  return names;
}

std::string matteLabel(const std::string& name) {
  if (name == "crypto_object") return "Object Matte";
  if (name == "crypto_material") return "Material Matte";
  if (name == "crypto_asset") return "Asset Matte";
  return name;
}

/// The name without the two digits that count the layers of a matte; empty for other layers.
std::string matteOf(const FilmLayer& layer, const std::set<std::string>& mattes) {
  const std::string& name = layer.name();
  if (layer.channels().size() != 4 || name.size() < 3) return {};
  if (!std::all_of(name.end() - 2, name.end(), [](unsigned char c) { return std::isdigit(c) != 0; }))
    return {};
  const std::string base = name.substr(0, name.size() - 2);
  return mattes.contains(base) || begins(base, cryptomattePrefix) ? base : std::string();
}

/// By a layer's name and channels alone.
LayerKind kindOf(const FilmLayer& layer) {
  const std::string name = lower(layer.name()), &channels = layer.channels();
  const std::string last = name.substr(name.find_last_of("./") + 1);
  const auto has = [&last](const char* part) { return last.find(part) != last.npos; };
  if (channels.size() == 1 && (has("noise") || has("variance"))) return LayerKind::heat;
  if (channels.size() == 1 && (last == "id" || last.ends_with("_id") || begins(last, "index")))
    return LayerKind::ids;
  if (channels == "XYZ" && (has("normal") || last == "n")) return LayerKind::vector;
  return begins(channels, "RGB") ? LayerKind::light : LayerKind::number;
}

struct Place {
  const char* group;
  int order;
};

Place placeOf(const std::string& name) {
  int order = 1;
  for (const LayerInfo& info : layerTable()) {
    if (name != info.name) {
      ++order;
      continue;
    }
    const bool way = (info.bit >= diffuseDirectLayer && info.bit <= skyLayer) || info.bit == denoisedLayer;
    return {way ? "Light" : "Surfaces and numbers", order};
  }
  if (begins(name, lightGroupPrefix)) return {"Light groups", order};
  return {"Other layers", order + 2};
}

std::string labelOf(const std::string& name) {
  for (const LayerInfo& info : layerTable())
    if (name == info.name) return info.label;
  if (begins(name, lightGroupPrefix)) return name.substr(sizeof lightGroupPrefix - 1);
  return name;
}

} // namespace

std::vector<ShownLayer> shownLayers(const Film& film) {
  std::vector<ShownLayer> list{{"", "Picture", "Light", LayerKind::light}};
  if (film.findLayer(film_layers::denoised) && !film.findLayer(beautyLayer))
    list.push_back({beautyLayer, "Beauty with noise", "Light", LayerKind::light});
  const std::set<std::string> mattes = matteNames(film);
  std::set<std::string> seen;
  struct Entry {
    int order;
    ShownLayer layer;
  };
  std::vector<Entry> rest;
  for (const FilmLayerPtr& layer : film.layers()) {
    if (layer->internal()) continue;
    const std::string matte = matteOf(*layer, mattes);
    if (!matte.empty()) {
      if (seen.insert(matte).second)
        rest.push_back({1000, {matte, matteLabel(matte), "Mattes", LayerKind::matte}});
      continue;
    }
    const Place place = placeOf(layer->name());
    rest.push_back({place.order, {layer->name(), labelOf(layer->name()), place.group, kindOf(*layer)}});
  }
  std::stable_sort(rest.begin(), rest.end(), [](const Entry& a, const Entry& b) {
    return a.order != b.order ? a.order < b.order : a.layer.name < b.layer.name;
  });
  for (Entry& entry : rest)
    list.push_back(std::move(entry.layer));
  // A heading comes once: the light first.
  std::stable_partition(list.begin(), list.end(), [](const ShownLayer& one) { return one.group == "Light"; });
  return list;
}

} // namespace host
