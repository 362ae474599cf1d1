// The way between linear light and 8-bit sRGB codes; `toDisplay` stands in film.h.
#pragma once

namespace host {

/// The linear light of an sRGB code, 0 to 1 (IEC 61966-2-1). The exact inverse:
/// toDisplay(fromDisplay(c)) == c. Any thread.
float fromDisplay(unsigned char code) noexcept;

} // namespace host
