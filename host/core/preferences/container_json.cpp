#include "container_json.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "container_store.h"
#include "utf8.h"

namespace host {

namespace {

using Json = nlohmann::json;
constexpr int deepest = 64;

// Bytes as hexadecimal digits, two each.
std::string toHex(std::string_view bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    text += digits[static_cast<unsigned char>(byte) >> 4];
    text += digits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

int digitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool fromHex(const Json& json, std::string& bytes) {
  if (!json.is_string()) return false;
  const auto& text = json.get_ref<const std::string&>();
  if (text.size() % 2 != 0) return false;
  bytes.clear();
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = digitOf(text[i]), low = digitOf(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

// A number; as its bits, "7ff8000000000000", when JSON cannot hold it.
Json realToJson(Real value) {
  if (std::isfinite(value)) return value;
  auto bits = std::bit_cast<std::uint64_t>(value);
  std::string bytes(8, '\0');
  for (std::size_t i = 8; i-- > 0; bits >>= 8)
    bytes[i] = static_cast<char>(bits & 255);
  return toHex(bytes);
}

bool realFromJson(const Json& json, Real& value) {
  if (json.is_number()) {
    value = json.get<Real>();
    return true;
  }
  std::string bytes;
  if (!fromHex(json, bytes) || bytes.size() != 8) return false;
  std::uint64_t bits = 0;
  for (const char byte : bytes)
    bits = (bits << 8) | static_cast<unsigned char>(byte);
  value = std::bit_cast<Real>(bits);
  return true;
}

template <std::size_t count>
bool realsFromJson(const Json& json, Real* const (&values)[count]) {
  if (!json.is_array() || json.size() != count) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (!realFromJson(json[i], *values[i])) return false;
  return true;
}

Json vectorToJson(const Vector& v) {
  return Json::array({realToJson(v.x), realToJson(v.y), realToJson(v.z)});
}

bool vectorFromJson(const Json& json, Vector& v) {
  return realsFromJson(json, {&v.x, &v.y, &v.z});
}

Json matrixToJson(const Matrix& m) {
  return Json::array({vectorToJson(m.off), vectorToJson(m.v1), vectorToJson(m.v2), vectorToJson(m.v3)});
}

bool matrixFromJson(const Json& json, Matrix& m) {
  return json.is_array() && json.size() == 4 && vectorFromJson(json[0], m.off) &&
         vectorFromJson(json[1], m.v1) && vectorFromJson(json[2], m.v2) && vectorFromJson(json[3], m.v3);
}

// A text; an object with its bytes when it is not UTF-8.
Json textToJson(const String& text) {
  if (utf8::isValid(text.GetUTF8())) return text.GetUTF8();
  return Json{{"hex", toHex(text.GetUTF8())}};
}

bool textFromJson(const Json& json, String& text) {
  std::string bytes;
  if (json.is_string())
    bytes = json.get<std::string>();
  else if (!json.is_object() || !json.contains("hex") || !fromHex(json["hex"], bytes))
    return false;
  text = String(std::string_view(bytes));
  return true;
}

Json containerToValue(const BaseContainer& container);
// With `dropped`, invalid entries are left out and counted.
bool containerFromValue(const Json& json, BaseContainer& container, int depth, LONG* dropped);

Json entryToJson(const ContainerEntry& entry) {
  const GeData& data = entry.data;
  switch (data.GetType()) {
  case DA_LONG:
    return Json::array({entry.id, "long", data.GetLong()});
  case DA_LLONG:
    return Json::array({entry.id, "llong", data.GetLLong()});
  case DA_BOOL:
    return Json::array({entry.id, "bool", data.GetBool() != FALSE});
  case DA_REAL:
    return Json::array({entry.id, "real", realToJson(data.GetReal())});
  case DA_TIME: {
    const BaseTime time = data.GetTime();
    return Json::array({entry.id, "time",
                        Json::array({realToJson(time.GetNumerator()), realToJson(time.GetDenominator())})});
  }
  case DA_VECTOR:
    return Json::array({entry.id, "vector", vectorToJson(data.GetVector())});
  case DA_MATRIX:
    return Json::array({entry.id, "matrix", matrixToJson(data.GetMatrix())});
  case DA_STRING:
    return Json::array({entry.id, "string", textToJson(data.GetString())});
  case DA_FILENAME:
    return Json::array({entry.id, "filename", textToJson(data.GetFilename().GetString())});
  case DA_CONTAINER:
    return Json::array({entry.id, "container", containerToValue(data.GetContainer())});
  case DA_ALIASLINK:
    return Json::array({entry.id, "link", data.GetBaseLink().GetIdentity()});
  case DA_BYTEARRAY: {
    std::size_t count = 0;
    const char* bytes = static_cast<const char*>(data.GetMemory(&count));
    return Json::array({entry.id, "bytes", toHex({bytes, count})});
  }
  default:
    return Json::array({entry.id, "nil"});
  }
}

// An array of entries, inside an object when the container has an ID.
Json containerToValue(const BaseContainer& container) {
  Json entries = Json::array();
  if (const ContainerStorePtr store = Access::pin(container))
    for (const ContainerEntry& entry : store->entries)
      entries.push_back(entryToJson(entry));
  if (container.GetId() == 0) return entries;
  return Json{{"id", container.GetId()}, {"entries", std::move(entries)}};
}

template <class Int>
bool integerFromJson(const Json& json, Int& value) {
  if (!json.is_number_integer()) return false;
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    value = static_cast<Int>(number);
    return number <= static_cast<std::uint64_t>(std::numeric_limits<Int>::max());
  }
  const auto number = json.get<std::int64_t>();
  value = static_cast<Int>(number);
  return std::is_signed_v<Int> && number >= static_cast<std::int64_t>(std::numeric_limits<Int>::min());
}

bool bytesFromJson(const Json& json, GeData& data) {
  std::string bytes;
  if (!fromHex(json, bytes)) return false;
  data = GeData(bytes.data(), bytes.size());
  return true;
}

// The types that are read into a value first.
template <class T, class Read>
bool readAs(const Json& json, GeData& data, const Read& read) {
  T value{};
  if (!read(json, value)) return false;
  data = GeData(value);
  return true;
}

bool timeFromJson(const Json& json, BaseTime& time) {
  Real numerator = 0, denominator = 1;
  if (!realsFromJson(json, {&numerator, &denominator})) return false;
  time = BaseTime(numerator, denominator);
  return true;
}

bool filenameFromJson(const Json& json, Filename& name) {
  String text;
  if (!textFromJson(json, text)) return false;
  name = Filename(text);
  return true;
}

bool valueFromJson(const std::string& type, const Json& json, GeData& data, int depth, LONG* dropped) {
  if (type == "long") return readAs<LONG>(json, data, integerFromJson<LONG>);
  if (type == "real") return readAs<Real>(json, data, realFromJson);
  if (type == "time") return readAs<BaseTime>(json, data, timeFromJson);
  if (type == "vector") return readAs<Vector>(json, data, vectorFromJson);
  if (type == "matrix") return readAs<Matrix>(json, data, matrixFromJson);
  if (type == "string") return readAs<String>(json, data, textFromJson);
  if (type == "filename") return readAs<Filename>(json, data, filenameFromJson);
  if (type == "bytes") return bytesFromJson(json, data);
  if (type == "bool" && json.is_boolean()) return data = GeData::FromBool(json.get<bool>()), true;
  if (type == "llong") {
    LLONG value = 0;
    if (!integerFromJson(json, value)) return false;
    return data = GeData::FromLLong(value), true;
  }
  if (type == "link") {
    ULLONG identity = 0;
    if (!integerFromJson(json, identity)) return false;
    return data = GeData(BaseLink::FromIdentity(identity)), true;
  }
  if (type == "container")
    return readAs<BaseContainer>(json, data, [depth, dropped](const Json& value, BaseContainer& container) {
      return containerFromValue(value, container, depth + 1, dropped);
    });
  return false;
}

bool entryFromJson(const Json& json, ContainerEntry& entry, int depth, LONG* dropped) {
  if (!json.is_array() || json.size() < 2 || json.size() > 3) return false;
  if (!integerFromJson(json[0], entry.id) || !json[1].is_string()) return false;
  const std::string type = json[1].get<std::string>();
  if (json.size() == 2) return type == "nil";
  return valueFromJson(type, json[2], entry.data, depth, dropped);
}

bool containerFromValue(const Json& json, BaseContainer& container, int depth, LONG* dropped) {
  if (depth > deepest) return false;
  const Json* entries = &json;
  LONG id = 0;
  if (json.is_object()) {
    if (!json.contains("entries") || !json.contains("id") || !integerFromJson(json["id"], id)) return false;
    entries = &json["entries"];
  }
  if (!entries->is_array()) return false;
  auto store = std::make_shared<ContainerStore>();
  for (const Json& json_entry : *entries) {
    ContainerEntry entry;
    if (!entryFromJson(json_entry, entry, depth, dropped)) {
      if (!dropped) return false;
      ++*dropped;
      continue;
    }
    const int index = store->find(entry.id); // of an ID that comes twice the later entry counts
    if (index >= 0)
      store->entries[static_cast<std::size_t>(index)].data = std::move(entry.data);
    else
      store->entries.push_back(std::move(entry));
  }
  container = BaseContainer(id);
  Access::replace(container, std::move(store));
  return true;
}

} // namespace

std::string containerToJson(const BaseContainer& container, int indent) {
  return containerToValue(container).dump(indent);
}

bool containerFromJson(std::string_view text, BaseContainer& container, std::string* error) {
  const Json json = Json::parse(text, nullptr, false);
  BaseContainer read;
  const bool good = !json.is_discarded() && containerFromValue(json, read, 0, nullptr);
  if (good)
    container = std::move(read);
  else if (error)
    *error =
        json.is_discarded() ? "the text is not JSON" : "an entry is not [ID, type, value] of a known type";
  return good;
}

LONG salvageContainer(std::string_view text, BaseContainer& container) {
  const Json json = Json::parse(text, nullptr, false);
  LONG dropped = 0;
  BaseContainer read;
  if (json.is_discarded() || !containerFromValue(json, read, 0, &dropped)) ++dropped;
  container = std::move(read);
  return dropped;
}

} // namespace host
