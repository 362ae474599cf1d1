// A view's map from light to display values, ready for pixels. Private to host/image/color.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace host {

/// Display values are whole numbers: 0 is black, this is white, 128 of them a code of 8 bits.
inline constexpr int displayWhite = 255 * 128;

/// A display value of 0 to 1 in those steps, rounded; others and NaN are cut.
inline std::int16_t toDisplaySteps(float value) noexcept {
  const float cut = value > 0 ? (value < 1 ? value : 1) : 0;
  return static_cast<std::int16_t>(cut * static_cast<float>(displayWhite) + 0.5f);
}

/// Any thread.
class ViewLook {
 public:
  static constexpr std::size_t mostPixels = 64; // at once

  ViewLook() = default;
  virtual ~ViewLook() = default;
  ViewLook(const ViewLook&) = delete;
  ViewLook& operator=(const ViewLook&) = delete;
  /// Linear light of Rec. 709's primaries to display values, 0 to `displayWhite`; red, green and blue of each
  /// pixel, up to `mostPixels`. `display` has room for one value more. NaN and negative light count as 0.
  virtual void show(const float* rgb, std::int16_t* display, std::size_t pixels) const noexcept = 0;
};
using ViewLookPtr = std::shared_ptr<const ViewLook>;

/// Red, green and blue of `pixels` pixels, in place: light to display values of any size. Any thread.
using ViewFunction = std::function<void(float* rgb, std::size_t pixels)>;

/// Calls the function for each pixel.
ViewLookPtr directLook(ViewFunction function);
/// Calls the function, which maps light to light, then the look.
ViewLookPtr tonedLook(ViewFunction function, ViewLookPtr look);
/// A table for functions that treat each channel alone and alike: 256 steps a stop from 2^-12 to 2^8, error
/// below a hundredth of a code for smooth curves.
ViewLookPtr curveLook(const ViewFunction& function);
/// A cube of 65^3 colours with tetrahedral interpolation, four steps a stop from 2^-10 to 2^6. Takes
/// the time of 275,000 pixels to make, on the workers.
ViewLookPtr cubeLook(const ViewFunction& function);

} // namespace host
