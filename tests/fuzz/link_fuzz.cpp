// Bytes of strangers at the live link: frames, and the scene that their messages make.
#include "fuzz_support.h"
#include "link_stage.h"

namespace {

using fuzz::require;

void check(const host::LinkScene& scene) {
  std::size_t seen = 0;
  for (const host::LinkObjectPtr& object : *scene.objects) {
    ++seen;
    if (!object->mesh) continue;
    const host::Mesh& mesh = *object->mesh;
    for (const auto& triangle : mesh.triangles)
      for (const std::uint32_t corner : triangle)
        require(corner < mesh.positions.size(), "corners are vertices");
    require(object->materials.size() <= mesh.groups.size(), "materials belong to groups");
  }
  require(seen == scene.objects->size(), "all objects are there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  host::LinkParser parser;
  host::LinkStage stage;
  const auto* bytes = reinterpret_cast<const std::byte*>(data);
  try {
    // In two pieces, as a socket may give them.
    const std::size_t first = size / 3;
    const auto take = [&](host::LinkFrame&& frame) {
      try {
        if (const host::LinkScenePtr scene = stage.take(frame)) check(*scene);
      } catch (const host::LinkError& error) {
        require(*error.what() != '\0' && !error.help.empty(), "an error says what, and what to do");
      }
    };
    parser.feed({bytes, first}, take);
    parser.feed({bytes + first, size - first}, take);
  } catch (const host::LinkBroken&) {
  }
  return 0;
}
