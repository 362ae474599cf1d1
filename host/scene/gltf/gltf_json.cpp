#include "gltf_json.h"

#include <array>
#include <cmath>

namespace host {

namespace {

constexpr int deepestJson = 256;

// Recursive readers must not meet a text that nests without end.
void checkDepth(std::string_view text) {
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\')
        ++i;
      else if (c == '"')
        inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '{' || c == '[') {
      if (++depth > deepestJson) throw SceneError("its JSON is nested too deeply");
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
}

const Json nothing;

int base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+' || c == '-') return 62;
  if (c == '/' || c == '_') return 63;
  return -1;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

} // namespace

Json parseJson(std::string_view text) {
  checkDepth(text);
  Json root = Json::parse(text, nullptr, false);
  if (root.is_discarded()) throw SceneError("its JSON cannot be read");
  return root;
}

const Json& member(const Json& object, const char* key) {
  if (!object.is_object()) return nothing;
  const auto found = object.find(key);
  return found == object.end() ? nothing : *found;
}

const Json& element(const Json& array, std::size_t index) {
  return array.is_array() && index < array.size() ? array[index] : nothing;
}

std::optional<double> maybeNumber(const Json& object, const char* key) {
  const Json& value = member(object, key);
  if (!value.is_number()) return std::nullopt;
  const auto number = value.get<double>();
  return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

double numberIn(const Json& object, const char* key, double preset) {
  return maybeNumber(object, key).value_or(preset);
}

int indexIn(const Json& object, const char* key, std::size_t count, const char* what) {
  const Json& value = member(object, key);
  if (value.is_null()) return -1;
  if (value.is_number_unsigned() && value.get<std::uint64_t>() < count) return value.get<int>();
  if (value.is_number_integer() && value.get<std::int64_t>() >= 0 && value.get<std::uint64_t>() < count)
    return value.get<int>();
  throw SceneError(std::string("it refers to ") + what + " " +
                   value.dump(-1, ' ', true, Json::error_handler_t::replace).substr(0, 40) +
                   ", which is not in it");
}

std::size_t sizeIn(const Json& object, const char* key, std::size_t preset) {
  const Json& value = member(object, key);
  if (value.is_number_unsigned()) return value.get<std::size_t>();
  if (value.is_number_integer() && value.get<std::int64_t>() >= 0) return value.get<std::size_t>();
  if (value.is_number_float()) {
    const auto number = value.get<double>();
    if (number >= 0 && number < 9e15 && number == std::floor(number)) return static_cast<std::size_t>(number);
  }
  if (value.is_null()) return preset;
  throw SceneError(std::string("\"") + key + "\" is not a size");
}

bool flagIn(const Json& object, const char* key, bool preset) {
  const Json& value = member(object, key);
  return value.is_boolean() ? value.get<bool>() : preset;
}

std::string textIn(const Json& object, const char* key) {
  const Json& value = member(object, key);
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::optional<Vector> maybeVector(const Json& object, const char* key) {
  const Json& value = member(object, key);
  if (!value.is_array() || value.size() < 3) return std::nullopt;
  std::array<double, 3> v{};
  for (std::size_t i = 0; i < 3; ++i) {
    if (!value[i].is_number()) return std::nullopt;
    v[i] = value[i].get<double>();
    if (!std::isfinite(v[i])) return std::nullopt;
  }
  return Vector(v[0], v[1], v[2]);
}

std::size_t countOf(const Json& array) noexcept {
  return array.is_array() ? array.size() : 0;
}

const Json& extension(const Json& object, const char* name) {
  return member(member(object, "extensions"), name);
}

const Json& ours(const Json& object) {
  return member(member(object, "extras"), "lumenara");
}

std::string toBase64(std::span<const std::byte> bytes) {
  static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    for (std::size_t k = 0; k < 3; ++k)
      group = (group << 8) | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k)
      text += k <= count ? digits[(group >> (18 - 6 * k)) & 63] : '=';
  }
  return text;
}

std::optional<Bytes> fromBase64(std::string_view text) {
  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  int bits = 0;
  for (const char c : text) {
    if (c == '=' || c == '\n' || c == '\r' || c == ' ' || c == '\t') continue;
    const int digit = base64Digit(c);
    if (digit < 0) return std::nullopt;
    group = (group << 6) | static_cast<std::uint32_t>(digit);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes.push_back(static_cast<std::byte>((group >> bits) & 255));
  }
  return bytes;
}

std::string percentDecoded(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0) {
      plain += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

bool isUtf8(std::string_view text) noexcept {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const int more = lead < 0x80                   ? 0
                     : lead >= 0xC2 && lead < 0xE0 ? 1
                     : (lead & 0xF0) == 0xE0       ? 2
                     : lead >= 0xF0 && lead < 0xF5 ? 3
                                                   : -1;
    if (more < 0 || i + static_cast<std::size_t>(more) >= text.size()) return false;
    for (int k = 1; k <= more; ++k)
      if ((static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]) & 0xC0) != 0x80) return false;
    const auto second = static_cast<unsigned char>(more > 0 ? text[i + 1] : 0);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
      return false;
    i += static_cast<std::size_t>(more) + 1;
  }
  return true;
}

bool isDataUri(const std::string& uri) noexcept {
  return uri.rfind("data:", 0) == 0;
}

std::optional<DataUri> readDataUri(const std::string& uri) {
  const std::size_t comma = uri.find(',');
  if (comma == std::string::npos) return std::nullopt;
  const std::string header = uri.substr(5, comma - 5);
  const std::string_view body = std::string_view(uri).substr(comma + 1);
  DataUri data;
  data.mimeType = header.substr(0, header.find(';'));
  if (header.find(";base64") == std::string::npos) {
    const std::string plain = percentDecoded(body);
    const auto bytes = std::as_bytes(std::span(plain));
    data.bytes.assign(bytes.begin(), bytes.end());
    return data;
  }
  auto bytes = fromBase64(body);
  if (!bytes) return std::nullopt;
  data.bytes = std::move(*bytes);
  return data;
}

Json textJson(const std::string& text) {
  if (isUtf8(text)) return text;
  return Json{{"base64", toBase64(std::as_bytes(std::span(text)))}};
}

std::string textOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (const auto bytes = fromBase64(textIn(value, "base64")))
    return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
  return {};
}

} // namespace host
