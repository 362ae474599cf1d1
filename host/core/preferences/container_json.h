// Containers as JSON text, exact for every type: an array of [ID, type, value] in the container's order.
// Reals keep every bit, texts that are not UTF-8 keep their bytes. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "c4d_container.h"

namespace host {

/// The text, indented by `indent` blanks a level; -1: one line.
std::string containerToJson(const BaseContainer& container, int indent = -1);

/// Reads such a text. False with a reason, and the container unchanged, when the text is invalid. Containers
/// nest at most 64 deep.
bool containerFromJson(std::string_view text, BaseContainer& container, std::string* error = nullptr);

/// Reads a damaged text without its invalid entries, at every depth. Returns their number; a text that is not
/// a container counts as one and leaves the container empty.
LONG salvageContainer(std::string_view text, BaseContainer& container);

} // namespace host
