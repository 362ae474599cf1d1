#include "gltf_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace host {

namespace {

constexpr int deepestContainer = 64;

Json realJson(Real value) {
  if (std::isfinite(value)) return value;
  return std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf";
}

Real realFrom(const Json& value) {
  if (value.is_number()) return value.get<double>();
  const std::string text = value.is_string() ? value.get<std::string>() : std::string();
  if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
  if (text == "inf") return std::numeric_limits<double>::infinity();
  return text == "-inf" ? -std::numeric_limits<double>::infinity() : 0;
}

Vector vectorFrom(const Json& value, std::size_t at = 0) {
  return {realFrom(element(value, at)), realFrom(element(value, at + 1)), realFrom(element(value, at + 2))};
}

LLONG integerFrom(const Json& value) {
  if (value.is_number_unsigned()) return static_cast<LLONG>(value.get<std::uint64_t>());
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
  if (value.is_number_float()) {
    const auto number = value.get<double>();
    return std::abs(number) < 9e18 ? static_cast<LLONG>(number) : 0;
  }
  if (!value.is_string()) return 0;
  try {
    return std::stoll(value.get<std::string>());
  } catch (const std::exception&) {
    return 0;
  }
}

Json valueJson(const GeData& data, const LinkWriter& links, const char*& type) {
  switch (data.GetType()) {
  case DA_LONG:
    type = "long";
    return data.GetLong();
  case DA_REAL:
    type = "real";
    return realJson(data.GetReal());
  case DA_BOOL:
    type = "bool";
    return data.GetBool() != FALSE;
  case DA_LLONG:
    type = "int64";
    return std::to_string(data.GetLLong());
  case DA_TIME: {
    type = "time";
    const BaseTime time = data.GetTime();
    return Json::array({realJson(time.GetNumerator()), realJson(time.GetDenominator())});
  }
  case DA_VECTOR: {
    type = "vector";
    const Vector v = data.GetVector();
    return Json::array({realJson(v.x), realJson(v.y), realJson(v.z)});
  }
  case DA_MATRIX:
    type = "matrix";
    return matrixJson(data.GetMatrix());
  case DA_STRING:
    type = "string";
    return textJson(data.GetString().GetUTF8());
  case DA_FILENAME:
    type = "filename";
    return textJson(data.GetFilename().GetString().GetUTF8());
  case DA_BYTEARRAY: {
    type = "bytes";
    std::size_t count = 0;
    const void* bytes = data.GetMemory(&count);
    return toBase64(std::span(static_cast<const std::byte*>(bytes), count));
  }
  case DA_CONTAINER: {
    type = "container";
    const BaseContainer nested = data.GetContainer();
    Json entries = containerToJson(nested, links);
    if (nested.GetId() == 0) return entries;
    return Json{{"id", nested.GetId()}, {"entries", std::move(entries)}};
  }
  case DA_ALIASLINK:
    type = "link";
    return links(data.GetBaseLink().GetIdentity());
  default:
    type = "nil";
    return 0;
  }
}

std::optional<GeData> valueFrom(const std::string& type, const Json& value, const LinkReader& links,
                                int depth) {
  if (type == "long") return GeData(static_cast<LONG>(integerFrom(value)));
  if (type == "real") return GeData(realFrom(value));
  if (type == "bool") return GeData::FromBool(integerFrom(value) != 0 ? TRUE : FALSE);
  if (type == "int64") return GeData::FromLLong(integerFrom(value));
  if (type == "time")
    return GeData(value.is_array() ? BaseTime(realFrom(element(value, 0)), realFrom(element(value, 1)))
                                   : BaseTime(realFrom(value)));
  if (type == "vector") return GeData(vectorFrom(value));
  if (type == "matrix") return GeData(matrixFrom(value));
  if (type == "string") return GeData(String(textOf(value)));
  if (type == "filename") return GeData(Filename(String(textOf(value))));
  if (type == "bytes") {
    const Bytes bytes = fromBase64(value.is_string() ? value.get<std::string>() : "").value_or(Bytes());
    return GeData(bytes.data(), bytes.size());
  }
  if (type == "container") {
    BaseContainer nested =
        containerFromJson(value.is_object() ? member(value, "entries") : value, links, depth + 1);
    nested.SetId(value.is_object() ? static_cast<LONG>(integerFrom(member(value, "id"))) : 0);
    return GeData(nested);
  }
  if (type == "link") return GeData(BaseLink::FromIdentity(links(value)));
  if (type == "nil") return GeData();
  return std::nullopt;
}

std::vector<LONG> idsOf(const BaseContainer& container) {
  std::vector<LONG> ids;
  for (LONG i = 0; i < container.GetCount(); ++i)
    ids.push_back(container.GetIndexId(i));
  return ids;
}

Json entryJson(LONG id, const GeData& data, const LinkWriter& links) {
  const char* type = "nil";
  Json value = valueJson(data, links, type);
  return Json::array({id, type, std::move(value)});
}

} // namespace

Json matrixJson(const Matrix& m) {
  Json numbers = Json::array();
  for (const Vector* v : {&m.off, &m.v1, &m.v2, &m.v3})
    for (const Real number : {v->x, v->y, v->z})
      numbers.push_back(realJson(number));
  return numbers;
}

Matrix matrixFrom(const Json& value) {
  if (countOf(value) < 12) return {};
  return {vectorFrom(value), vectorFrom(value, 3), vectorFrom(value, 6), vectorFrom(value, 9)};
}

Json containerToJson(const BaseContainer& container, const LinkWriter& links) {
  Json entries = Json::array();
  for (LONG i = 0; i < container.GetCount(); ++i)
    entries.push_back(entryJson(container.GetIndexId(i), *container.GetIndexData(i), links));
  return entries;
}

BaseContainer containerFromJson(const Json& entries, const LinkReader& links, int depth) {
  BaseContainer container;
  if (depth > deepestContainer) return container;
  for (std::size_t i = 0; i < countOf(entries); ++i) {
    const Json& entry = entries[i];
    const Json& type = element(entry, 1);
    if (!element(entry, 0).is_number_integer() || !type.is_string()) continue;
    if (const auto value = valueFrom(type.get<std::string>(), element(entry, 2), links, depth))
      container.SetData(static_cast<LONG>(integerFrom(entry[0])), *value);
  }
  return container;
}

void writeDifference(const BaseContainer& derived, const BaseContainer& actual, const LinkWriter& links,
                     Json& to) {
  BaseContainer reached = derived;
  Json entries = Json::array(), removed = Json::array();
  for (const LONG id : idsOf(derived))
    if (actual.FindIndex(id) == NOTOK) removed.push_back(id), reached.RemoveData(id);
  for (LONG i = 0; i < actual.GetCount(); ++i) {
    const LONG id = actual.GetIndexId(i);
    const GeData& value = *actual.GetIndexData(i);
    if (derived.FindIndex(id) != NOTOK && derived.GetData(id) == value) continue;
    entries.push_back(entryJson(id, value, links));
    reached.SetData(id, value);
  }
  if (!entries.empty()) to["container"] = std::move(entries);
  if (!removed.empty()) to["remove"] = std::move(removed);
  if (idsOf(reached) != idsOf(actual)) to["order"] = idsOf(actual);
}

void applyDifference(const Json& from, const LinkReader& links, BaseContainer& container) {
  const Json& removed = member(from, "remove");
  for (std::size_t i = 0; i < countOf(removed); ++i)
    if (removed[i].is_number_integer()) container.RemoveData(static_cast<LONG>(integerFrom(removed[i])));
  container.MergeContainer(containerFromJson(member(from, "container"), links));
  const Json& order = member(from, "order");
  if (countOf(order) == 0) return;
  BaseContainer sorted(container.GetId());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto id = static_cast<LONG>(integerFrom(order[i]));
    if (container.FindIndex(id) != NOTOK) sorted.SetData(id, container.GetData(id));
  }
  for (const LONG id : idsOf(container))
    if (sorted.FindIndex(id) == NOTOK) sorted.SetData(id, container.GetData(id));
  container = sorted;
}

Json timeJson(const BaseTime& time) {
  return Json::array({realJson(time.GetNumerator()), realJson(time.GetDenominator())});
}

BaseTime timeFrom(const Json& value, const BaseTime& preset) {
  if (value.is_number()) return BaseTime(value.get<double>());
  if (countOf(value) != 2) return preset;
  return {realFrom(value[0]), realFrom(value[1])};
}

} // namespace host
