// The list of a render queue as text. Values only; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "render_queue.h"

namespace host::farm {

/// The rows as JSON; an animation that renders is written as waiting, since it begins anew.
std::string queueText(const std::vector<QueueRow>& rows);

/// At most `RenderQueue::mostRows` rows with positive ids, each id once; entries that are damaged are left
/// out, and `damaged` counts them. Nothing for a text that is no list.
std::optional<std::vector<QueueRow>> queueRowsOf(std::string_view text, int& damaged);

/// Takes a line that "lumenara animate --json" printed; others are ignored.
void takeProgressLine(std::string_view line, QueueRow& row);

} // namespace host::farm
