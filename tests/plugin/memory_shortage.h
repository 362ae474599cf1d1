// Memory that runs out where a test wants it.
#pragma once

#include <cstddef>

/// From its construction on, one allocation with `new` of exactly this size fails, on any thread: the first,
/// or the one after `later` others. Afterwards everything is as before.
class MemoryShortage {
 public:
  explicit MemoryShortage(std::size_t size, int later = 0);
  ~MemoryShortage();
  MemoryShortage(const MemoryShortage&) = delete;
  MemoryShortage& operator=(const MemoryShortage&) = delete;

  /// Whether it has failed.
  static bool hasFailed();
};

/// Fails an allocation of any size, on the thread that made the shortage.
inline constexpr std::size_t ANY_SIZE = 0;
