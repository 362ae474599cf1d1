#include "light_rows.h"

#include "document.h"
#include "light_source.h"
#include "parameters.h"

namespace host {

namespace {

// The columns that an attribute stands in; `lightColumns` for none.
std::size_t columnOf(AttributeId id) {
  const auto number = [](LightColumn column) { return static_cast<std::size_t>(column); };
  switch (id) {
  case AttributeId::name:
    return number(LightColumn::name);
  case AttributeId::lightKind:
    return number(LightColumn::kind);
  case AttributeId::lightIntensity:
    return number(LightColumn::intensity);
  case AttributeId::lightColor:
    return number(LightColumn::color);
  case AttributeId::lightTemperature:
    return number(LightColumn::temperature);
  case AttributeId::lightRadius:
  case AttributeId::lightAngle:
  case AttributeId::lightWidth:
    return number(LightColumn::size);
  case AttributeId::lightHeight:
    return number(LightColumn::height);
  case AttributeId::lightReach:
    return number(LightColumn::reach);
  case AttributeId::lightShadow:
    return number(LightColumn::shadow);
  case AttributeId::lightGroup:
    return number(LightColumn::group);
  case AttributeId::lightMuted:
    return number(LightColumn::mute);
  case AttributeId::lightSolo:
    return number(LightColumn::solo);
  default:
    return lightColumns;
  }
}

LightRow rowOf(const ObjectState& light) {
  LightRow row;
  row.identity = light.identity;
  row.selected = (light.bits & BIT_ACTIVE) != 0;
  const NodeState* const node = &light;
  for (Attribute& attribute : attributesOf({&node, 1}))
    if (const std::size_t column = columnOf(attribute.id); column < lightColumns)
      row.cells[column] = std::move(attribute);
  return row;
}

} // namespace

std::vector<LightRow> lightRows(const BaseDocument& document) {
  std::vector<LightRow> rows;
  bool anySolo = false;
  forEachObject(stateOf(&document)->children, [&](const ObjectState& object) {
    if (object.type != Olight) return;
    rows.push_back(rowOf(object));
    rows.back().silent = param::flag(object, param::lightMuted);
    anySolo = anySolo || (!rows.back().silent && param::flag(object, param::lightSolo));
  });
  for (LightRow& row : rows)
    row.silent = row.silent || (anySolo && row.cell(LightColumn::solo).value.GetBool() == FALSE);
  return rows;
}

} // namespace host
