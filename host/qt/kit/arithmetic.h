// The arithmetic that number fields take. Any thread.
#pragma once

#include <optional>
#include <string_view>

namespace host {

/// The value of "90/2", "1.5*(2+3)", "-2^2" (= -4), "pi/4": + - * / ^, brackets, blanks, numbers with a point
/// or a comma and an exponent. Nothing for anything else, for a division by zero and for what is not finite.
/// Deeper than 64 brackets or longer than 4096 characters: nothing.
std::optional<double> evaluate(std::string_view text);

} // namespace host
