// Mutations of glTF files that keep them readable: counts, indices, cycles, accessors against each other,
// strides, sparse parts, skins, morph targets, animations, numbers beyond any range, and the entries of our
// own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// For LLVMFuzzerCustomMutator: changes the file in place, binary or text, and returns its new size. Bytes
/// that are not a glTF file, and one file in four, are changed byte by byte.
std::size_t mutateGltf(std::uint8_t* data, std::size_t size, std::size_t mostBytes, unsigned seed);

} // namespace fuzz
