// The cache that renders share: acceleration structures of meshes and decoded textures, kept by the identity
// of their immutable source data across renders and document clones. Above the memory limit the least
// recently used entries are dropped; a render drops those whose source nothing else holds. Entries in use by
// a render stay. Any thread.
#pragma once

#include <array>
#include <functional>
#include <list>
#include <map>
#include <mutex>

#include "cache_key.h"
#include "embree_device.h"
#include "mesh_tangents.h"
#include "recent_products.h"
#include "render_stats.h"
#include "texture.h"

namespace host::render {

/// The acceleration structure of one mesh.
struct MeshAccel {
  MeshPtr mesh; // keeps the source data alive
  EmbreeScene scene;
  std::size_t bytes = 0;
  bool quick = false; // for the first picture
};
using CornerTangentsPtr = std::shared_ptr<const CornerTangents>;
using MeshAccelPtr = std::shared_ptr<const MeshAccel>;

/// A mesh in the level above the meshes.
struct TopPlace {
  MeshAccelPtr accel;
  unsigned mask = 0;
  std::array<float, 12> toWorld{};           // columns
  std::vector<std::array<float, 12>> motion; // the same at even times of the shutter; empty: it stands still
  bool operator==(const TopPlace&) const = default;
};
/// The structure above the placed meshes.
struct TopLevel {
  EmbreeScene scene;
};
using TopLevelPtr = std::shared_ptr<const TopLevel>;

/// The care taken with structures that have to be built. Quick ones take a third of the time, and their rays
/// half as long again; they are made of large meshes only and not kept.
enum class BuildCare : std::uint8_t { careful, quickFirst };

/// Returns true when the render is to end. May be empty; called often and by every worker.
using Stopped = std::function<bool()>;

class SceneCache {
 public:
  /// The process's cache.
  static SceneCache& shared();

  explicit SceneCache(std::size_t limitBytes = std::size_t{2} << 30) : limit_(limitBytes) {}

  struct Meshes {
    bool complete = false; // false after a break
    std::vector<MeshAccelPtr> accels;
    std::uint32_t built = 0, reused = 0;
    bool quick = false; // some are quick ones
  };
  /// The structures of the meshes, in order; the workers build missing ones. Throws std::bad_alloc.
  Meshes meshes(const std::vector<MeshPtr>& wanted, int workers, const Stopped& stopped,
                BuildCare care = BuildCare::careful);

  struct Top {
    TopLevelPtr level; // null after a break
    bool built = false;
  };
  /// The level above placed meshes, whose instances have the numbers of the places. Those of the last two
  /// scenes are kept until one with other meshes is asked for, unless made of quick structures. Throws
  /// std::bad_alloc.
  Top top(std::vector<TopPlace> places, int workers, const Stopped& stopped);

  /// Tangents for normal maps in a set of texture coordinates; made by the caller alone. Null after a break.
  CornerTangentsPtr tangents(const MeshPtr& mesh, std::size_t set, const Stopped& stopped);

  struct TextureRequest {
    PicturePtr picture; // has bytes
    ColorSpace space = ColorSpace::srgb;
    const InputColors* colors = nullptr; // the rule for it; null: as its file says
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
  /// Drops all entries that no render uses.
  void clear();

 private:
  using Key = CacheKey;
  struct Entry {
    std::shared_ptr<const void> value;
    std::weak_ptr<const void> source; // the mesh or picture it was made from
    long ownUses;                     // of the source by the value itself
    std::size_t bytes;
    std::list<Key>::iterator use;
  };
  /// Meshes of a request that the cache does not have yet.
  struct PendingMeshes {
    std::vector<std::shared_ptr<MeshAccel>> small, large;
  };
  static bool build(const PendingMeshes& pending, int workers, const Stopped& stopped);
  std::shared_ptr<const void> find(const Key& key);
  void put(const Key& key, Entry entry);
  void trim();
  void dropTopsBeside(const std::vector<MeshPtr>& wanted);
  void dropUnused();

  mutable std::mutex mutex_;
  std::map<Key, Entry> entries_;
  std::list<Key> order_; // most recently used first
  std::size_t bytes_ = 0, limit_;
  RecentProducts<std::vector<TopPlace>, TopLevel> tops_{2};
};

} // namespace host::render

namespace host {
/// Frees the renderer's caches, at the end of the program and when memory is short. Main thread, while no
/// render is running.
void freeRenderCaches();
} // namespace host
