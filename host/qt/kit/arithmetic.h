// Arithmetic expressions for number fields. Any thread.
#pragma once

#include <optional>
#include <string_view>

namespace host {

/// The value of "90/2", "1.5*(2+3)", "-2^2" (= -4), "pi/4": + - * / ^, brackets, blanks, numbers with a point
/// or a comma and an exponent. Empty for anything else, for a division by zero, for a result that is not
/// finite, and beyond 64 nested brackets or 4096 characters.
std::optional<double> evaluate(std::string_view text);

} // namespace host
