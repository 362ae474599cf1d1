// Linear light to the values that the network was trained on, and back. Any thread.
#pragma once

#include <span>

namespace host::denoise {

/// The exposure that brings a picture to a middle grey of 0.18: 0.18 over the geometric mean of the luminance
/// of blocks of about 16 x 16 pixels, black ones left out; 1 for a black picture; 1e-30 to 1e30. Three floats
/// a pixel, linear, Rec. 709 primaries; values that are not finite count as 0.
float autoExposure(std::span<const float> rgb, int width, int height) noexcept;

/// Light of 0 to 65504 to 0 to 1 by the perceptually uniform transfer function that the network was trained
/// with (its constants are those of the weights' source). NaN gives 0; values outside are clamped.
float toNetwork(float light) noexcept;
/// The inverse. Values outside 0 to 1 are clamped.
float fromNetwork(float value) noexcept;

} // namespace host::denoise
