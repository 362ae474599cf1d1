#include "bitmap_data.h"
#include "platform.h"

namespace host {

bool fitsMemory(std::size_t count) noexcept {
  static const double memory = static_cast<double>(platform::physicalMemory());
  return memory <= 0 || static_cast<double>(count) <= 0.75 * memory;
}

} // namespace host
