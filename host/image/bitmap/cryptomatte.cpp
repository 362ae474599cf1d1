#include "cryptomatte.h"

#include <bit>
#include <cstdio>

namespace host {
namespace {

std::uint32_t mixed(std::uint32_t block) {
  return std::rotl(block * 0xcc9e2d51u, 15) * 0x1b873593u;
}

std::uint32_t blockOf(std::string_view bytes) {
  std::uint32_t block = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    block |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return block;
}

std::string hexText(std::uint32_t number) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", number);
  return text;
}

} // namespace

std::uint32_t murmurHash3(std::string_view bytes) noexcept {
  std::uint32_t h = 0;
  std::string_view left = bytes;
  for (; left.size() >= 4; left.remove_prefix(4))
    h = std::rotl(h ^ mixed(blockOf(left.substr(0, 4))), 13) * 5 + 0xe6546b64u;
  if (!left.empty()) h ^= mixed(blockOf(left));
  h ^= static_cast<std::uint32_t>(bytes.size());
  h = (h ^ (h >> 16)) * 0x85ebca6bu;
  h = (h ^ (h >> 13)) * 0xc2b2ae35u;
  return h ^ (h >> 16);
}

std::uint32_t matteHash(std::string_view name) noexcept {
  const std::uint32_t hash = murmurHash3(name), exponent = hash >> 23 & 255u;
  return exponent == 0 || exponent == 255 ? hash ^ (1u << 23) : hash;
}

float matteNumber(std::string_view name) noexcept {
  return std::bit_cast<float>(matteHash(name));
}

std::map<std::string, std::string> matteAttributes(std::string_view layer,
                                                   const std::vector<std::string>& names) {
  std::map<std::string, std::string> hashes; // a name counts once
  for (const std::string& name : names)
    hashes.emplace(name, hexText(matteHash(name)));
  std::string manifest;
  for (const auto& [name, hash] : hashes)
    manifest += (manifest.empty() ? "{" : ",") + jsonText(name) + ":\"" + hash + "\"";
  const std::string key = "cryptomatte/" + hexText(murmurHash3(layer)).substr(0, 7) + "/";
  return {{key + "name", std::string(layer)},
          {key + "hash", "MurmurHash3_32"},
          {key + "conversion", "uint32_to_float32"},
          {key + "manifest", manifest.empty() ? "{}" : manifest + "}"}};
}

std::string jsonText(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') json += '\\';
    if (static_cast<unsigned char>(c) >= ' ') {
      json += c;
      continue;
    }
    char escaped[7];
    std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
    json += escaped;
  }
  return json + "\"";
}

} // namespace host
