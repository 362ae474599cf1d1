#include "film_picking.h"

#include "layer_table.h"
#include "pixel_probe.h"
#include "scene_queries.h"

namespace host {

namespace {

bool isInScene(const BaseDocument& document, Identity node, PickTarget target) {
  return target == PickTarget::object ? findObject(document, node) != nullptr
                                      : findMaterial(document, node) != nullptr;
}

} // namespace

FilmPick pickNode(const Film& film, int x, int y, PickTarget target, const BaseDocument* document) {
  const bool object = target == PickTarget::object;
  const LayerInfo& info = layerInfo(object ? objectLayer : materialLayer);
  const std::string kind = object ? "object" : "material";
  const FilmLayerPtr layer = film.findLayer(info.name);
  if (!layer || layer->channels().size() != 1)
    return {0,
            {},
            "This picture has no " + kind + " numbers. Switch on \"" + info.label +
                "\" in Render Settings > Multi-Pass and render again."};
  float number = 0;
  layer->get(film.pixelAt(x, y), &number);
  if (!(number >= 1)) return {0, {}, "There is no " + kind + " at this pixel."};
  FilmPick pick;
  pick.name = FilmNames(film).nameOf(info.name, number);
  const std::vector<Identity> nodes = film.nodes(info.name);
  const auto index = static_cast<std::size_t>(number) - 1;
  const Identity node = index < nodes.size() ? nodes[index] : 0;
  const std::string quoted = "\"" + (pick.name.empty() ? std::to_string(index + 1) : pick.name) + "\"";
  if (node == 0) {
    pick.sentence =
        "The picture comes from a file: its " + kind + " " + quoted + " is not linked to a scene.";
  } else if (!document || !isInScene(*document, node, target)) {
    pick.sentence = "The scene with the " + kind + " " + quoted + " is no longer open, or has lost it.";
  } else {
    pick.node = node;
    pick.sentence = "Selected the " + kind + " " + quoted + ".";
  }
  return pick;
}

} // namespace host
