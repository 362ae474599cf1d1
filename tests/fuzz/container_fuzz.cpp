// Containers from any text: a container that reads is written and reads back the same; of others as much as
// makes sense is salvaged, and the result reads.
#include <cstdint>

#include "container_json.h"
#include "fuzz_support.h"

namespace {

using fuzz::require;

// Written and read again it is the same text; NaN equals nothing, so texts are
// compared.
void checkRoundTrip(const BaseContainer& container) {
  const std::string text = host::containerToJson(container);
  BaseContainer again;
  require(host::containerFromJson(text, again), "what was written reads");
  require(host::containerToJson(again) == text, "and is the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  BaseContainer strict, saved;
  std::string why;
  const bool reads = host::containerFromJson(text, strict, &why);
  require(reads || !why.empty(), "what does not read says why");
  const LONG dropped = host::salvageContainer(text, saved);
  require(reads == (dropped == 0), "entries are dropped from damaged texts only");
  checkRoundTrip(saved);
  if (reads) checkRoundTrip(strict);
  return 0;
}
