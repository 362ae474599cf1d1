// The entry of the part that runs networks.
#include "onednn_network.h"

namespace host::denoise {
namespace {

class Library final : public NetworkLibrary {
 public:
  bool has(Precision precision) const override {
#if defined(__x86_64__)
    if (precision == Precision::bfloat16) return __builtin_cpu_supports("avx512bf16") != 0;
#endif
    return precision == Precision::float32;
  }
  std::unique_ptr<Network> make(const Weights& weights, Workers workers, Precision precision) const override {
    return std::make_unique<OnednnNetwork>(weights, std::move(workers), precision);
  }
};

} // namespace
} // namespace host::denoise

void* lumenara_part_onednn() {
  static host::denoise::Library library;
  return static_cast<host::denoise::NetworkLibrary*>(&library);
}
