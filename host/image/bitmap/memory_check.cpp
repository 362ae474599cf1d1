#include "bitmap_data.h"

#include <limits>

#include "platform.h"

namespace host {

std::size_t mostMemory() noexcept {
  static const std::size_t most = [] {
    const std::size_t memory = platform::physicalMemory();
    return memory > 0 ? memory / 4 * 3 : std::numeric_limits<std::size_t>::max();
  }();
  return most;
}

bool fitsMemory(std::size_t count) noexcept {
  return count <= mostMemory();
}

} // namespace host
