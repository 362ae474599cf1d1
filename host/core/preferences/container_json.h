// Containers as JSON text, exact for every type: an array of [ID, type, value] in the container's order.
// Reals keep every bit, texts that are no UTF-8 keep their bytes. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "c4d_container.h"

namespace host {

/// The text, indented by `indent` blanks a level (-1: on one line).
std::string containerToJson(const BaseContainer& container, int indent = -1);

/// Reads such a text. False with a reason when it is none; the container is then unchanged. Containers nest
/// 64 deep at most.
bool containerFromJson(std::string_view text, BaseContainer& container, std::string* error = nullptr);

/// Reads as much of a damaged text as makes sense: entries that do not read are left out, at every depth.
/// Gives how many were; a text that is no container at all counts as one and leaves the container empty.
LONG salvageContainer(std::string_view text, BaseContainer& container);

} // namespace host
