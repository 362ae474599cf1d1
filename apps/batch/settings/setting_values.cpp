#include "setting_values.h"

#include <charconv>
#include <cmath>
#include <optional>

#include "exit_code.h"
#include "number_text.h"
#include "setting_names.h"

namespace batch {
namespace {

std::optional<LONG> wholeNumber(const std::string& text) {
  LONG value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

std::optional<Real> number(const std::string& text) {
  Real value = 0;
  const std::size_t length = host::parseReal(text, value);
  if (text.empty() || length != text.size() || !std::isfinite(value)) return {};
  return value;
}

std::optional<Vector> threeNumbers(const std::string& text) {
  const auto first = text.find(',');
  const auto second = first == std::string::npos ? first : text.find(',', first + 1);
  if (second == std::string::npos) return {};
  const auto x = number(text.substr(0, first));
  const auto y = number(text.substr(first + 1, second - first - 1));
  const auto z = number(text.substr(second + 1));
  if (!x || !y || !z) return {};
  return Vector(*x, *y, *z);
}

[[noreturn]] void refuse(const lmKey& key, const std::string& text, const std::string& wanted) {
  throw Stop(ExitCode::wrongUse,
             "\"" + text + "\" is no value for " + settingTitle(key) + ", which takes " + wanted);
}

} // namespace

std::string settingTitle(const lmKey& key) {
  return readableName(key) + " (" + key.name + ")";
}

std::string kindName(LONG type) {
  switch (type) {
  case DA_LONG:
    return "long";
  case DA_REAL:
    return "real";
  case DA_STRING:
    return "string";
  case DA_FILENAME:
    return "filename";
  case DA_VECTOR:
    return "vector";
  case DA_CONTAINER:
    return "container";
  default:
    return "unknown";
  }
}

GeData parseSetting(const lmKey& key, const std::string& text) {
  switch (key.type) {
  case DA_LONG:
    if (const auto value = wholeNumber(text)) return GeData(*value);
    refuse(key, text, "a whole number");
  case DA_REAL:
    if (const auto value = number(text)) return GeData(*value);
    refuse(key, text, "a number");
  case DA_VECTOR:
    if (const auto value = threeNumbers(text)) return GeData(*value);
    refuse(key, text, "three numbers as 1,0.5,0");
  case DA_STRING:
    return GeData(String(text));
  case DA_FILENAME:
    return GeData(Filename(String(text)));
  default:
    throw Stop(ExitCode::wrongUse,
               settingTitle(key) + " holds a group of values, which has no text; only the viewer sets it");
  }
}

std::string settingText(const GeData& value) {
  switch (value.GetType()) {
  case DA_NIL:
    return {};
  case DA_LONG:
  case DA_LLONG:
  case DA_BOOL:
    return std::to_string(value.GetLLong());
  case DA_REAL:
    return host::shortestText(value.GetReal());
  case DA_VECTOR: {
    const Vector v = value.GetVector();
    return host::shortestText(v.x) + "," + host::shortestText(v.y) + "," + host::shortestText(v.z);
  }
  case DA_STRING:
    return value.GetString().GetUTF8();
  case DA_FILENAME:
    return value.GetFilename().GetString().GetUTF8();
  case DA_CONTAINER:
    return "(" + std::to_string(value.GetContainer().GetCount()) + " values)";
  default:
    return "(a value of another kind)";
  }
}

} // namespace batch
