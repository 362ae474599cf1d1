// Colour profiles from any bytes, for pictures of each kind of colours.
#include "fuzz_picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  for (const auto colours : {host::FileColours::rgb, host::FileColours::grey, host::FileColours::inks}) {
    host::RawPicture raw;
    raw.picture.width = 3;
    raw.picture.height = 1;
    raw.picture.bytes = {0, 0, 0, 255, 17, 128, 200, 3, 255, 255, 255, 0};
    raw.colours = colours;
    raw.profile.assign(bytes.begin(), bytes.end());
    std::string reason;
    try {
      fuzz_picture::require(host::convertColours(raw, &reason) == reason.empty(), "a refusal has a reason");
    } catch (const std::bad_alloc&) { // a profile may ask for more than there is
    }
    fuzz_picture::require(raw.picture.bytes.size() == 12, "the pixels stay as many");
  }
  return 0;
}
