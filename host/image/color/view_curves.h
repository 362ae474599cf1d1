// The host's own views: light in, display values out, in place. Private to host/image/color.
#pragma once

#include <cstddef>

namespace host {

/// sRGB's curve, cut at white.
void showSrgb(float* rgb, std::size_t pixels);
/// The inverse of the reference display of high-definition television: an exponent of 1 / 2.4 (ITU-R
/// BT.1886).
void showRec709(float* rgb, std::size_t pixels);
/// Light as codes, without a curve.
void showRaw(float* rgb, std::size_t pixels);
/// A curve like that of film, with a toe and a long shoulder; each channel alone (Hable 2010, "Filmic
/// tonemapping operators"; exposure 2, white at 11.2), then sRGB's.
void showFilmic(float* rgb, std::size_t pixels);
/// Base colours of products as they are, highlights rolled off to white (Khronos Group 2024, "PBR Neutral
/// tone mapper"). Light to light.
void toneNeutral(float* rgb, std::size_t pixels);
/// Luminance in stops from middle grey, 0.18, as colours: violet below -6, then blue to -4, light blue to -2,
/// teal to -0.5, green to 0.5, grey to 1.25, yellow to 2, orange to white, red above it.
void showFalseColor(float* rgb, std::size_t pixels);

} // namespace host
