// What renders share: acceleration structures of meshes and decoded textures, kept by the identity of the
// immutable data that they were built from, across renders and document clones. The least recently used are
// let go when the memory bound is passed; what a render holds stays until the render lets it go. Any thread.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <mutex>

#include "cache_key.h"
#include "embree_device.h"
#include "render_stats.h"
#include "texture.h"

namespace host::render {

/// The rays' view of one mesh.
struct MeshAccel {
  MeshPtr mesh; // keeps the identity's data alive
  EmbreeScene scene;
  std::size_t bytes = 0;
};
using MeshAccelPtr = std::shared_ptr<const MeshAccel>;

/// Whether the render is to end. May be empty; asked often and from every worker.
using Stopped = std::function<bool()>;

class SceneCache {
 public:
  /// The process's.
  static SceneCache& shared();

  explicit SceneCache(std::size_t limitBytes = std::size_t{2} << 30) : limit_(limitBytes) {}

  struct Meshes {
    bool complete = false; // false after a break
    std::vector<MeshAccelPtr> accels;
    std::uint32_t built = 0, reused = 0;
  };
  /// The structures of the meshes, in order; builds missing ones with the workers. Throws std::bad_alloc.
  Meshes meshes(const std::vector<MeshPtr>& wanted, int workers, const Stopped& stopped);

  struct TextureRequest {
    PicturePtr picture; // with bytes
    ColorSpace space = ColorSpace::srgb;
  };
  struct Textures {
    bool complete = false; // false after a break
    std::vector<TexturePtr> list;
    std::vector<std::string> undecoded; // a sentence for each picture that does not decode
    std::uint32_t decoded = 0, reused = 0;
  };
  /// The textures, in order; null for a picture that does not decode. Throws std::bad_alloc.
  Textures textures(const std::vector<TextureRequest>& wanted, int workers, const Stopped& stopped);

  void setLimit(std::size_t bytes);
  std::size_t bytes() const;
  /// Lets everything go that no render holds.
  void clear();

 private:
  using Key = CacheKey;
  struct Entry {
    std::shared_ptr<const void> value;
    std::size_t bytes;
    std::list<Key>::iterator use;
  };
  /// A mesh of a request: found in the cache, or new and still to be built.
  struct PendingMeshes {
    std::vector<std::shared_ptr<MeshAccel>> small, large;
  };
  static bool build(const PendingMeshes& pending, int workers, const Stopped& stopped);
  std::shared_ptr<const void> find(const Key& key);
  void put(const Key& key, std::shared_ptr<const void> value, std::size_t bytes);
  void trim();

  mutable std::mutex mutex_;
  std::map<Key, Entry> entries_;
  std::list<Key> order_; // most recently used first
  std::size_t bytes_ = 0, limit_;
};

} // namespace host::render

namespace host {
/// Frees what the renderer keeps between renders. Main thread, no render running; for the program's end and
/// when memory is short. Without it the memory goes when the process ends.
void freeRenderCaches();
} // namespace host
