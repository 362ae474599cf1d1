// The lights of a document as a table. Main thread.
#pragma once

#include <array>
#include <vector>

#include "attributes.h"

namespace host {

enum class LightColumn {
  name,
  kind,
  intensity,
  color,
  temperature,
  size,
  height,
  reach,
  shadow,
  group,
  mute,
  solo
};
inline constexpr std::size_t lightColumns = 12;

/// One light. A cell that its kind does not have has the ID `none`; `size` is the radius of a point or a
/// spot, the angle of a distant light, the width of a rectangle, or the diameter of a disk.
struct LightRow {
  Identity identity = 0;
  bool selected = false;
  bool silent = false; // muted, or others are on solo
  std::array<Attribute, lightColumns> cells;
  const Attribute& cell(LightColumn column) const { return cells[static_cast<std::size_t>(column)]; }
};

/// All lights in document order.
std::vector<LightRow> lightRows(const BaseDocument& document);

} // namespace host
