#include "markup_text.h"

namespace host {

std::string markupText(std::string_view text) {
  std::string safe;
  for (const char c : text) {
    if (c == '&')
      safe += "&amp;";
    else if (c == '<')
      safe += "&lt;";
    else if (c == '>')
      safe += "&gt;";
    else if (c == '"')
      safe += "&quot;";
    else if (static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\n' || c == '\r')
      safe += c;
  }
  return safe;
}

} // namespace host
