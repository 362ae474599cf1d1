// Content cut where its own bytes say so: equal stretches of two files become equal chunks, wherever they
// stand. After Xia et al. 2016 ("FastCDC: a fast and efficient content-defined chunking approach for data
// deduplication"), the rolling hash of its section 2. Any thread.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace host {

/// The chunks in order, together all of `content`. A chunk has at least a quarter of `usual` bytes and at
/// most four times as many, except the last. `usual` is a power of 2 from 256 on.
std::vector<std::span<const std::byte>> chunksOf(std::span<const std::byte> content, std::size_t usual);

} // namespace host
