#include "option_values.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "layer_table.h"
#include "nearest_word.h"
#include "picture_formats.h"

namespace batch {
namespace {

constexpr LONG largestSide = 32768; // of a bitmap

/// `count` integers with `separator` between them; empty for any other text.
std::optional<std::vector<LONG>> numbers(std::string_view text, char separator, std::size_t count) {
  std::vector<LONG> values;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (values.size() < count) {
    if (!values.empty()) {
      if (at == end || *at != separator) return {};
      ++at;
    }
    LONG value = 0;
    const auto [next, error] = std::from_chars(at, end, value);
    if (error != std::errc()) return {};
    values.push_back(value);
    at = next;
  }
  if (at != end) return {};
  return values;
}

} // namespace

Stop wrong(const std::string& sentence) {
  return {ExitCode::wrongUse, sentence};
}

PixelSize parseSize(const std::string& text) {
  const auto sides = numbers(text, 'x', 2);
  if (!sides) throw wrong("--size " + text + " is not a size; write it as 1280x720");
  const PixelSize size{(*sides)[0], (*sides)[1]};
  if (size.width < 1 || size.height < 1 || size.width > largestSide || size.height > largestSide) {
    throw wrong("--size " + text + " is out of range; each side can have 1 to 32768 pixels");
  }
  return size;
}

PixelRegion parseRegion(const std::string& text) {
  const auto sides = numbers(text, ',', 4);
  if (!sides)
    throw wrong("--region " + text + " is not a region; write left,top,right,bottom as 0,0,639,359");
  const PixelRegion region{(*sides)[0], (*sides)[1], (*sides)[2], (*sides)[3]};
  if (region.left < 0 || region.top < 0 || region.right < region.left || region.bottom < region.top) {
    throw wrong("--region " + text +
                " is empty; left and top are at least 0, right and bottom are not below them");
  }
  return region;
}

RegionBox parseBox(const std::string& text) {
  double values[3] = {};
  const char* at = text.data();
  const char* const end = at + text.size();
  bool good = true;
  for (int i = 0; i < 3 && good; ++i) {
    if (i > 0) good = at != end && *at++ == ',';
    if (!good) break;
    const auto [next, error] = std::from_chars(at, end, values[i], std::chars_format::fixed);
    good = error == std::errc() && next != at;
    at = next;
  }
  if (!good || at != end)
    throw wrong("--region-box " + text + " is not a box; write left,top,size as fractions, as 0.25,0.25,0.5");
  const auto [x, y, size] = values;
  if (!(x >= 0 && x <= 1 && y >= 0 && y <= 1 && size > 0 && size <= 1))
    throw wrong("--region-box " + text +
                " is out of range; left and top are 0 to 1, the size is above 0 and at most 1");
  return {x, y, size};
}

FrameRange parseFrames(const std::string& text) {
  auto given = numbers(text, ':', 2);
  if (!given) given = numbers(text, ':', 3);
  if (!given) given = numbers(text, ':', 1);
  if (!given)
    throw wrong("--frames " + text +
                " is not a frame range; write a frame, first:last or first:last:step, as 0:89");
  const FrameRange range{given->front(), given->size() > 1 ? (*given)[1] : given->front(),
                         given->size() > 2 ? (*given)[2] : 1};
  if (range.from < 0 || range.to > lastFrameNumber) {
    throw wrong("--frames " + text + " is out of range; frames are numbered 0 to " +
                std::to_string(lastFrameNumber));
  }
  if (range.from > range.to) {
    throw wrong("--frames " + text + " goes backwards; write the first frame before the last, as 0:89");
  }
  if (range.step < 1) throw wrong("--frames " + text + " has an invalid step; the step is at least 1");
  return range;
}

std::pair<std::string, std::string> splitSetting(const std::string& text) {
  const auto equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw wrong("--set " + text + " has no value; write KEY=VALUE, such as LM_OPT_15014=0");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

unsigned parseLayers(const std::string& text) {
  std::string unknown;
  if (const auto layers = host::layersOf(text, unknown)) return *layers;
  throw wrong("--layers does not know \"" + unknown + "\"; write all, or some of " + host::layerNames());
}

std::string compressionNames() {
  std::string names;
  for (const std::string_view name : host::exrCompressions())
    names += (names.empty() ? "" : ", ") + std::string(name);
  return names;
}

LONG parseCompression(const std::string& text) {
  const auto known = host::exrCompressions();
  const auto found = std::find(known.begin(), known.end(), text);
  if (found != known.end()) return static_cast<LONG>(found - known.begin());
  throw wrong("--compression does not know \"" + text + "\"; write one of " + compressionNames());
}

LONG parseStyle(const std::string& text) {
  static const std::map<std::string, LONG> styles = {
      {"columns", 0}, {"rows", 1}, {"blend", 2}, {"difference", 9999}};
  std::vector<std::string> names;
  for (const auto& [name, style] : styles) {
    if (text == name || text == std::to_string(style)) return style;
    names.push_back(name);
  }
  throw wrong("--style " + text + " is not a style; write columns, rows, blend or difference" +
              didYouMean(nearestWord(text, names)));
}

SamplePart parsePart(const std::string& text) {
  const auto given = numbers(text, '/', 2);
  if (!given) throw wrong("--part " + text + " is not a part; write the second of four parts as 2/4");
  const SamplePart part{(*given)[0], (*given)[1]};
  if (part.count < 1 || part.count > mostParts || part.number < 1 || part.number > part.count)
    throw wrong("--part " + text + " is out of range; there can be 1 to " + std::to_string(mostParts) +
                " parts, and the first is 1");
  return part;
}

} // namespace batch
