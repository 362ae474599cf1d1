#include "portable_results.h"

#include <cstdlib>
#include <cstring>

namespace host {

bool wantsPortableResults() noexcept {
  static const bool wanted = [] {
    const char* value = std::getenv("LUMENARA_PORTABLE");
    return value && *value && std::strcmp(value, "0") != 0;
  }();
  return wanted;
}

} // namespace host
