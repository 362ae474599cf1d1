// Files of the history of renders, from any bytes: an entry, a film, a list of contents. The first byte
// chooses. An entry that was read is written and read again, and is the same.
#include <cstdint>
#include <cstring>

#include "film_bytes.h"
#include "fuzz_support.h"
#include "history_entry.h"

namespace {

using fuzz::require;

void readEntry(std::string_view text) {
  // Most inputs have no right hash; behind it any text counts.
  const std::string whole =
      "Lumenara history 1 " + host::hashOf(std::as_bytes(std::span(text))).text() + "\n" + std::string(text);
  host::entryFromText(text);
  const auto entry = host::entryFromText(whole);
  if (!entry) return;
  const std::string written = host::entryToText(*entry);
  const auto again = host::entryFromText(written);
  require(again && host::entryToText(*again) == written, "an entry that was read can be kept");
}

void readFilm(std::span<const std::byte> bytes) {
  const auto film = host::filmFromBytes(bytes);
  if (!film) return;
  const auto written = host::filmToBytes(*film);
  const auto again = host::filmFromBytes(written);
  require(again && host::filmToBytes(*again) == written, "a film that was read can be kept");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto bytes = std::as_bytes(std::span(data + 1, size - 1));
  switch (data[0] % 3) {
  case 0:
    readEntry({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    break;
  case 1:
    readFilm(bytes);
    break;
  default:
    if (const auto blobs = host::blobsFromList(bytes))
      require(host::blobList(*blobs).size() == bytes.size(), "a list is as long as it was");
  }
  return 0;
}
