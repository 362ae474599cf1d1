// Name of the code that renders.
#pragma once

namespace host {

/// The copy of the renderer's inner loops in use: "avx2" or "portable". Their pictures differ in the last
/// bits of rounding. Any thread; the first call, or the first render, chooses.
const char* renderCode() noexcept;

} // namespace host
