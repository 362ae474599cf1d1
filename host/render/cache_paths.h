// The paths that fill the radiance cache before a picture's own.
#pragma once

#include <functional>
#include <optional>

#include "radiance_cache.h"
#include "ray_scene.h"

namespace host::render {

/// The picture that the cache is for.
struct CachedView {
  const RenderCamera& camera;
  int width = 0, height = 0; // of the whole bitmap, so all of its regions have the same cache
};

struct FilledCache {
  std::optional<RadianceCache> cache; // nothing where it would not pay, and after a break
  std::uint64_t rays = 0;
  bool stopped = false;
};

/// Whether renders with these settings use a cache where the scene has use for one.
bool wantsCache(const RenderSettings& settings, const RayScene& scene);

/// Traces paths all over the picture on all workers. The result depends on scene, view and seed alone.
/// Scenes in which light seldom takes several bounces get no cache: there a few paths tell. Throws
/// std::bad_alloc.
FilledCache fillCache(const RayScene& scene, const RenderSettings& settings, const CachedView& view,
                      const std::function<bool()>& stopped);

} // namespace host::render
