// BMP pictures from any bytes.
#include "fuzz_picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz_picture::read(host::readBmp, host::plausibleBmp, data, size);
}
