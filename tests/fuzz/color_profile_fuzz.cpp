// Colour profiles from any bytes, for pictures of each kind of colours.
#include "fuzz_picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  for (const auto colors : {host::FileColors::rgb, host::FileColors::grey, host::FileColors::inks}) {
    host::RawPicture raw;
    raw.picture.width = 3;
    raw.picture.height = 1;
    raw.picture.bytes = {0, 0, 0, 255, 17, 128, 200, 3, 255, 255, 255, 0};
    raw.colors = colors;
    raw.profile.assign(bytes.begin(), bytes.end());
    std::string reason;
    try {
      fuzz_picture::require(host::convertColors(raw, &reason) == reason.empty(), "a refusal has a reason");
    } catch (const std::bad_alloc&) { // a profile may ask for more memory than the machine has
    }
    fuzz_picture::require(raw.picture.bytes.size() == 12, "the pixels stay as many");
  }
  return 0;
}
