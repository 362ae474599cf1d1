#include "render_steering.h"

#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <utility>

namespace host::render {
namespace {

constexpr float nowhere = std::numeric_limits<float>::quiet_NaN();

// Both coordinates in one word, since workers read it for every tile.
std::uint64_t packed(float x, float y) {
  return static_cast<std::uint64_t>(std::bit_cast<std::uint32_t>(x)) << 32 | std::bit_cast<std::uint32_t>(y);
}

std::atomic<std::uint64_t>& start() {
  static std::atomic<std::uint64_t> place{packed(nowhere, nowhere)};
  return place;
}

struct Isolation {
  std::mutex mutex;
  std::vector<Identity> objects;
};

Isolation& isolation() {
  static auto* const all = new Isolation;
  return *all;
}

} // namespace

void setRenderStart(const std::optional<PicturePlace>& place) {
  start().store(place ? packed(place->x, place->y) : packed(nowhere, nowhere), std::memory_order_relaxed);
}

std::optional<PicturePlace> renderStart() noexcept {
  const std::uint64_t word = start().load(std::memory_order_relaxed);
  const PicturePlace place{std::bit_cast<float>(static_cast<std::uint32_t>(word >> 32)),
                           std::bit_cast<float>(static_cast<std::uint32_t>(word))};
  return std::isfinite(place.x) && std::isfinite(place.y) ? std::optional(place) : std::nullopt;
}

void isolateObjects(std::vector<Identity> objects) {
  const std::lock_guard lock(isolation().mutex);
  isolation().objects = std::move(objects);
}

std::vector<Identity> isolatedObjects() {
  const std::lock_guard lock(isolation().mutex);
  return isolation().objects;
}

} // namespace host::render
