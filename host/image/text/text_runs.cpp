#include "text_runs.h"

#include <algorithm>
#include <string_view>

#include "utf8.h"

namespace host {
namespace {

hb_unicode_general_category_t category(std::uint32_t codePoint) {
  return hb_unicode_general_category(hb_unicode_funcs_get_default(), codePoint);
}

std::uint32_t decode(std::string_view bytes) {
  const auto first = static_cast<unsigned char>(bytes[0]);
  std::uint32_t value = bytes.size() == 1 ? first : first & (0x7fu >> bytes.size());
  for (const char next : bytes.substr(1))
    value = (value << 6) | (static_cast<unsigned char>(next) & 0x3f);
  return value;
}

bool isControl(std::uint32_t codePoint) {
  return codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0) || codePoint == 0x2028 ||
         codePoint == 0x2029;
}

enum class Kind : unsigned char { Left, Right, Number, Neutral };

/// Characters of no script of their own take the script before them, at the start the one after them.
std::vector<hb_script_t> scriptsOf(const CodePoints& text) {
  std::vector<hb_script_t> scripts;
  const auto isOpen = [](hb_script_t s) {
    return s == HB_SCRIPT_COMMON || s == HB_SCRIPT_INHERITED || s == HB_SCRIPT_UNKNOWN;
  };
  for (const std::uint32_t codePoint : text) {
    const hb_script_t own = hb_unicode_script(hb_unicode_funcs_get_default(), codePoint);
    scripts.push_back(isOpen(own) && !scripts.empty() ? scripts.back() : own);
  }
  const auto known = std::find_if_not(scripts.begin(), scripts.end(), isOpen);
  if (known != scripts.end()) std::fill(scripts.begin(), known, *known);
  return scripts;
}

Kind ownKind(std::uint32_t codePoint) {
  switch (category(codePoint)) {
  case HB_UNICODE_GENERAL_CATEGORY_DECIMAL_NUMBER:
    return Kind::Number;
  case HB_UNICODE_GENERAL_CATEGORY_LOWERCASE_LETTER:
  case HB_UNICODE_GENERAL_CATEGORY_MODIFIER_LETTER:
  case HB_UNICODE_GENERAL_CATEGORY_OTHER_LETTER:
  case HB_UNICODE_GENERAL_CATEGORY_TITLECASE_LETTER:
  case HB_UNICODE_GENERAL_CATEGORY_UPPERCASE_LETTER:
  case HB_UNICODE_GENERAL_CATEGORY_LETTER_NUMBER: {
    const hb_script_t script = hb_unicode_script(hb_unicode_funcs_get_default(), codePoint);
    return hb_script_get_horizontal_direction(script) == HB_DIRECTION_RTL ? Kind::Right : Kind::Left;
  }
  default:
    return Kind::Neutral;
  }
}

std::vector<Kind> kindsOf(const CodePoints& text) {
  std::vector<Kind> kinds;
  for (const std::uint32_t codePoint : text)
    kinds.push_back(joinsPrevious(codePoint) && !kinds.empty() ? kinds.back() : ownKind(codePoint));
  return kinds;
}

/// Embedding levels: even runs go left to right.
std::vector<int> levelsOf(const CodePoints& text) {
  const std::vector<Kind> kinds = kindsOf(text);
  const auto strong = [](Kind k) { return k == Kind::Left || k == Kind::Right; };
  const auto first = std::find_if(kinds.begin(), kinds.end(), strong);
  const bool base = first != kinds.end() && *first == Kind::Right;
  if (std::find(kinds.begin(), kinds.end(), Kind::Right) == kinds.end())
    return std::vector<int>(text.size(), 0);

  std::vector<int> levels(text.size());
  bool rightBefore = base;  // direction of the last strong character
  bool sideBefore = base;   // what neutrals see on their left: numbers after right-to-left text count with it
  std::size_t neutrals = 0; // start of the neutrals that wait for their right side
  const auto settle = [&](std::size_t end, bool sideAfter) {
    const bool right = sideBefore == sideAfter ? sideAfter : base;
    std::fill(levels.begin() + static_cast<std::ptrdiff_t>(neutrals),
              levels.begin() + static_cast<std::ptrdiff_t>(end), right ? 1 : (base ? 2 : 0));
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kinds[i] == Kind::Neutral) continue;
    if (kinds[i] != Kind::Number) rightBefore = kinds[i] == Kind::Right;
    settle(i, rightBefore);
    levels[i] = kinds[i] == Kind::Right ? 1 : (rightBefore || base ? 2 : 0);
    sideBefore = rightBefore;
    neutrals = i + 1;
  }
  settle(text.size(), base);
  return levels;
}

/// Reverses every sequence of runs at or above each level, highest first.
void reorder(std::vector<TextRun>& runs, std::vector<int>& levels) {
  for (int level = 2; level >= 1; --level)
    for (std::size_t i = 0; i < runs.size(); ++i) {
      std::size_t end = i;
      while (end < runs.size() && levels[end] >= level)
        ++end;
      if (end == i) continue;
      const auto from = static_cast<std::ptrdiff_t>(i), to = static_cast<std::ptrdiff_t>(end);
      std::reverse(runs.begin() + from, runs.begin() + to);
      std::reverse(levels.begin() + from, levels.begin() + to);
      i = end;
    }
}

} // namespace

CodePoints visibleCharacters(const std::string& utf8) {
  CodePoints text;
  for (std::size_t at = 0; at < utf8.size();) {
    bool valid = false;
    const std::size_t size = utf8::characterSize(utf8, at, &valid);
    const std::uint32_t codePoint = valid ? decode(std::string_view(utf8).substr(at, size)) : 0xfffd;
    if (!isControl(codePoint)) text.push_back(codePoint);
    at += size;
  }
  return text;
}

bool joinsPrevious(std::uint32_t codePoint) {
  switch (category(codePoint)) {
  case HB_UNICODE_GENERAL_CATEGORY_FORMAT:
  case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
  case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
  case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    return true;
  default:
    return false;
  }
}

std::vector<TextRun> visualRuns(const CodePoints& text, const std::vector<std::size_t>& faces) {
  const std::vector<hb_script_t> scripts = scriptsOf(text);
  const std::vector<int> levels = levelsOf(text);
  std::vector<TextRun> runs;
  std::vector<int> runLevels;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool same = !runs.empty() && runs.back().face == faces[i] && runs.back().script == scripts[i] &&
                      runLevels.back() == levels[i];
    if (!same) {
      runs.push_back({i, i, faces[i], scripts[i], levels[i] % 2 == 1});
      runLevels.push_back(levels[i]);
    }
    runs.back().end = i + 1;
  }
  reorder(runs, runLevels);
  return runs;
}

} // namespace host
