// A snapshot made ready for one way of rendering, with the report of it.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "render_stats.h"
#include "scene_cache.h"

namespace host::render {

template <class Scene>
struct BuiltScene {
  std::unique_ptr<Scene> scene; // null after a break
  BuildCounts counts;
  std::vector<std::string> undecoded; // a sentence for each picture that does not decode

  void note(SceneCache::Textures& textures) {
    counts.texturesDecoded += textures.decoded;
    counts.texturesReused += textures.reused;
    undecoded = std::move(textures.undecoded);
  }
};

} // namespace host::render
