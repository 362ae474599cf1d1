// Text split into runs that are shaped as one, in visual order. Private to
// host/image.
#pragma once

#include <hb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

using CodePoints = std::vector<std::uint32_t>;

/// The characters of UTF-8 text without control characters and line ends; U+FFFD for undecodable bytes.
CodePoints visibleCharacters(const std::string& utf8);

/// Characters [begin, end) of one face, script and direction.
struct TextRun {
  std::size_t begin = 0, end = 0;
  std::size_t face = 0;
  hb_script_t script = HB_SCRIPT_COMMON;
  bool rightToLeft = false;
};

/// True for a character that goes with the one before it whatever its face: marks, joiners, variation
/// selectors.
bool joinsPrevious(std::uint32_t codePoint);

/// `faces` gives every character's face. Directions follow the Unicode bidirectional algorithm without its
/// embedding controls: the first strong character sets the line's direction, numbers run left to right.
std::vector<TextRun> visualRuns(const CodePoints& text, const std::vector<std::size_t>& faces);

} // namespace host
