// Colour spaces of FLIP. The white point is (1, 1, 1) of linear Rec. 709. Private to host/image/metrics.
#pragma once

namespace host {

struct Triple {
  float x = 0, y = 0, z = 0;
};

/// Linear light and the opponent space YCxCz, a linear map: luminance, red and green, blue and yellow.
Triple toOpponent(const Triple& rgb) noexcept;
Triple fromOpponent(const Triple& opponent) noexcept;

/// CIE L*a*b* of linear light, the two chromatic channels scaled by lightness (Hunt's effect).
Triple toHuntLab(const Triple& rgb) noexcept;

/// The distance HyAB of two colours of L*a*b* (Abasi, Amani Tehran and Fairchild 2020).
float hyab(const Triple& a, const Triple& b) noexcept;

} // namespace host
