// Scenes from any bytes: a scene that loads is evaluated, viewed, saved and loaded again.

#include "fuzz_support.h"
#include "gltf_mutator.h"
#include "scene_file.h"
#include "snapshot.h"

namespace {

using fuzz::require;

void use(BaseDocument& document) {
  document.SetTime(BaseTime(0.5));
  document.ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
  host::SnapshotOptions options;
  options.lod = 0.4;
  const host::SnapshotPtr snapshot = host::takeSnapshot(document, options);
  require(snapshot != nullptr, "a snapshot without a break is there");
  for (const host::Instance& instance : snapshot->instances) {
    require(instance.materials.size() == instance.mesh->groups.size(), "one material a group");
    for (const auto& triangle : instance.mesh->triangles)
      for (const std::uint32_t vertex : triangle)
        require(vertex < instance.mesh->positions.size(), "triangles use vertices that are there");
  }
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostBytes,
                                               unsigned seed) {
  return fuzz::mutateGltf(data, size, mostBytes, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  host::LoadOptions options;
  options.limits.elements = 200'000;
  const auto bytes = std::as_bytes(std::span(data, size));
  const host::LoadResult result = host::loadDocumentFromMemory(bytes, Filename(), options);
  require(result.document || !result.error.empty(), "what does not load says why");
  if (!result.document) return 0;
  use(*result.document);
  std::string why;
  const auto saved = host::saveDocumentToMemory(*result.document, true, &why);
  require(!saved.empty(), why.c_str());
  const host::LoadResult again = host::loadDocumentFromMemory(saved, Filename());
  require(again.document != nullptr, again.error.c_str());
  require(host::documentsEqual(*result.document, *again.document, &why), why.c_str());
  return 0;
}
