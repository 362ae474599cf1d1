// A view's map from light to display values, ready for pixels. Private to host/image/color.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace host {

/// Any thread.
class ViewLook {
 public:
  ViewLook() = default;
  virtual ~ViewLook() = default;
  ViewLook(const ViewLook&) = delete;
  ViewLook& operator=(const ViewLook&) = delete;
  /// Linear light of Rec. 709's primaries to display values, 0 to 1; red, green and blue of each pixel. NaN
  /// counts as 0, negative light too.
  virtual void show(const float* rgb, float* display, std::size_t pixels) const noexcept = 0;
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
