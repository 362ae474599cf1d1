#include "bitmap_data.h"

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif

namespace host {

bool fitsMemory(std::size_t count) noexcept {
#if defined(_SC_PHYS_PAGES) && defined(_SC_PAGESIZE)
  static const double limit = [] {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? 0.75 * static_cast<double>(pages) * static_cast<double>(size) : 1e18;
  }();
  return static_cast<double>(count) <= limit;
#else
  static_cast<void>(count);
  return true;
#endif
}

} // namespace host
