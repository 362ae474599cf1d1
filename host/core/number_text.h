// Numbers as text and back, the same in every locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

/// Fixed notation with exactly `decimals` (0 to 1000) digits after the point; ties go away from zero. No sign
/// on a result of zero. `value` is finite.
std::string fixedText(double value, int decimals);

/// Scientific notation, as 1.250e+07; ties go away from zero. `value` is finite.
std::string scientificText(double value, int decimals);

/// The shortest text that reads back as the same value. `value` is finite.
std::string shortestText(double value);

/// Reads the number at the start of `text` ([sign] digits [. digits] [e [sign] digits]). Returns the number
/// of characters read, 0 without a number. A number too large for a double is an infinity.
std::size_t parseReal(std::string_view text, double& value);

} // namespace host
