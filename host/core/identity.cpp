#include "identity.h"

#include <atomic>

namespace host {

Identity newIdentity() noexcept {
  static std::atomic<Identity> last{0};
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace host
