// The colour of light sources by their temperature, and the switches that leave some of them out. Any thread.
#pragma once

#include "node_state.h"

namespace host {

namespace param {

// lights: temperature in kelvin, 0 none; off; alone
inline constexpr LONG lightTemperature = 1112, lightMuted = 1113, lightSolo = 1114;

} // namespace param

/// The temperatures that `blackBodyColor` knows, in kelvin.
inline constexpr Real leastKelvin = 1667, mostKelvin = 25000;

/// Linear Rec. 709 of a black body, with a luminance of 1, so that another temperature keeps the brightness.
/// Parts outside of the gamut are 0. The temperature is brought into the range; one that is not a number
/// counts as the least. Formula: Kim et al. 2002, "Design of advanced color temperature control system for
/// HDTV applications", the cubic splines of the Planckian locus in CIE 1931 x and y.
Vector blackBodyColor(Real kelvin);

/// The whole vertical angle, in radians, at which a view or a render looks through an object: a camera's own;
/// a spot's cone, and 2.6 at most; 0.8 of any other. Not below 0.0001, and finite.
Real viewAngleOf(const NodeState& object);

/// The colour that a light shines in, without its intensity: its own times that of its temperature.
Vector lightColorOf(const NodeState& light);

} // namespace host
