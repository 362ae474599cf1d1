// Identities: 64-bit numbers that are never used twice within a run of the program.
#pragma once

#include <cstdint>

namespace host {

using Identity = std::uint64_t; // 0: no node

/// A new identity. Any thread.
Identity newIdentity() noexcept;

} // namespace host
