// The history on disk: a large scene kept many times with one moved object. The counters are the sizes.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>

#include "document.h"
#include "history_folder.h"
#include "platform.h"
#include "scene_file.h"

namespace {

using namespace host;

std::uintmax_t bytesBelow(const std::filesystem::path& folder) {
  std::uintmax_t bytes = 0;
  for (const auto& file : std::filesystem::recursive_directory_iterator(folder))
    if (file.is_regular_file()) bytes += file.file_size();
  return bytes;
}

// `megabytes` of positions in a hundred meshes, and an object that moves.
DocumentPtr makeScene(std::size_t megabytes) {
  DocumentPtr document = newDocument();
  DocumentState& state = *stateOf(document.get());
  std::mt19937 random(1);
  for (int i = 0; i < 100; ++i) {
    auto mesh = std::make_shared<Mesh>();
    mesh->positions.resize(megabytes * 1'000'000 / 100 / sizeof(Float3));
    for (Float3& position : mesh->positions)
      for (float& value : position)
        value = static_cast<float>(random()) / 1e6f;
    mesh->triangles = {{0, 1, 2}};
    mesh->groups = {{0, 1}};
    ObjectState* object = makeObject(Opolygon);
    object->name = String(std::string_view("part " + std::to_string(i)));
    object->mesh = mesh;
    state.children.append(*object);
  }
  return document;
}

void keepFiftyTimes(benchmark::State& bench) {
  const DocumentPtr document = makeScene(static_cast<std::size_t>(bench.range(0)));
  auto* moved = static_cast<ObjectState*>(stateOf(document.get())->children.first());
  const platform::PrivateFolder place;
  const std::filesystem::path folder = place.folder().GetString().GetUTF8();
  for (auto _ : bench) {
    HistoryFolder store(place.folder() + Filename("renders"), std::uint64_t{1} << 40);
    std::uintmax_t once = 0;
    KeptScenePtr scene;
    for (std::uint64_t id = 1; id <= 50; ++id) {
      moved->local.off.x = static_cast<Real>(id) / 7;
      scene = keepScene(*stateOf(document.get()), scene);
      HistoryEntry entry;
      entry.id = id;
      std::vector<std::uint64_t> dropped;
      std::string error;
      if (!store.keep(entry, {std::make_shared<Film>(1, 1), nullptr, scene, {}}, dropped, &error))
        return bench.SkipWithError(error.c_str());
      if (id == 1) once = bytesBelow(folder);
    }
    const std::uintmax_t all = bytesBelow(folder);
    bench.counters["once_MB"] = static_cast<double>(once) / 1e6;
    bench.counters["fifty_times_MB"] = static_cast<double>(all) / 1e6;
    bench.counters["ratio"] = static_cast<double>(all) / static_cast<double>(once);
  }
}

BENCHMARK(keepFiftyTimes)->Arg(20)->Arg(200)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
