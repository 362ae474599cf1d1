// Values of attributes and render settings as words. Private to host/session/history.
#pragma once

#include <string>
#include <vector>

#include "attribute_table.h"

namespace host {

/// " intensity 12 -> 8", after the node's name; empty when the values read the same.
std::string changedValue(const AttributeEntry& before, const GeData& valueBefore, const AttributeEntry& after,
                         const GeData& valueAfter);

/// " samples 64 -> 128" for each different setting; the document's defaults fill in for absent ones.
std::vector<std::string> changedRenderSettings(const NodeState& before, const NodeState& after);

/// Without trailing zeros.
std::string numberWords(Real value, int decimals);

} // namespace host
