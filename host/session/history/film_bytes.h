// Films as bytes, exact to the bit, with all layers, notes and the origin. Numbers are little-endian; the
// layout stands in film_bytes.cpp. Any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "film.h"

namespace host {

/// Throws std::bad_alloc.
std::vector<std::byte> filmToBytes(const Film& film);

/// Null when the bytes are no film. Checks every size before it allocates; values that are not finite stay.
/// Throws std::bad_alloc.
std::shared_ptr<Film> filmFromBytes(std::span<const std::byte> bytes);

/// A film of its own with the same values, layers, notes and origin. Throws std::bad_alloc.
std::shared_ptr<Film> copyOf(const Film& film);

} // namespace host
