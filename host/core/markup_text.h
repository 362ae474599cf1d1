// Text inside XML and HTML. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// The text between two tags, or a value in double quotes: `&`, `<`, `>` and `"` become entities. Control
/// characters that XML 1.0 does not allow are left out.
std::string markupText(std::string_view text);

} // namespace host
