// The entry of the part that runs networks.
#include "onednn_network.h"

namespace {

class Library final : public host::denoise::NetworkLibrary {
 public:
  std::unique_ptr<host::denoise::Network> make(const host::denoise::Weights& weights,
                                               host::denoise::Workers workers) const override {
    return std::make_unique<host::denoise::OnednnNetwork>(weights, std::move(workers));
  }
};

} // namespace

void* lumenara_part_onednn() {
  static Library library;
  return static_cast<host::denoise::NetworkLibrary*>(&library);
}
