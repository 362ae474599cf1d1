// Allocations that fail where a test wants it.
#pragma once

#include <cstddef>

/// After its construction one allocation with `new` of exactly this size fails, on any thread: the first, or
/// the one after `later` others. Later ones succeed again.
class MemoryShortage {
 public:
  explicit MemoryShortage(std::size_t size, int later = 0);
  ~MemoryShortage();
  MemoryShortage(const MemoryShortage&) = delete;
  MemoryShortage& operator=(const MemoryShortage&) = delete;

  /// Whether the allocation has failed.
  static bool hasFailed();
};

/// Any size, but only on the thread that created the shortage.
inline constexpr std::size_t ANY_SIZE = 0;
