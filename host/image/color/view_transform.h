// Linear light through a view into the codes of a display.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "view_look.h"
#include "view_settings.h"

namespace host {

/// White balance and exposure scale the light, the view maps it to display values, gamma bends those. Plain
/// settings give exactly the codes of `toDisplay`. Any thread.
class ViewTransform {
 public:
  /// A view's first use in the program may take a tenth of a second. An unknown view counts as sRGB; the
  /// console says so once.
  explicit ViewTransform(const ViewSettings& settings = {});

  /// As given, within range.
  const ViewSettings& settings() const noexcept { return settings_; }
  /// Light of Rec. 709's primaries to codes; red, green and blue of each pixel.
  void show(const float* rgb, unsigned char* codes, std::size_t pixels) const noexcept;
  /// The same as codes of 16 bits. Views other than sRGB, and those with a gamma, have 32,640 steps.
  void show(const float* rgb, std::uint16_t* codes, std::size_t pixels) const noexcept;

 private:
  template <class Code>
  void showAs(const float* rgb, Code* codes, std::size_t pixels) const noexcept;

  ViewSettings settings_;
  std::array<float, 3 * ViewLook::mostPixels> gain_{}; // red, green and blue, again and again
  ViewLookPtr look_;                                   // null: sRGB by the display transform
  // Codes of each display value with a gamma, of 8 and 16 bits; empty for a gamma of 1.
  std::vector<unsigned char> codes_;
  std::vector<std::uint16_t> words_;
};

/// The scale of red, green and blue that makes light of a temperature look white; the luminance of white
/// stays. After the curve of Kim, Jang and Lee 2002 ("Color temperature conversion for image signals",
/// 1667 to 25000 K).
std::array<float, 3> whiteBalance(double kelvin);

} // namespace host
