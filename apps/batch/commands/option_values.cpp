#include "option_values.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "layer_table.h"
#include "movie_options.h"
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

namespace {

FrameRange parseRange(const std::string& text, std::string_view part) {
  auto given = numbers(part, ':', 2);
  if (!given) given = numbers(part, ':', 3);
  if (!given) given = numbers(part, ':', 1);
  if (!given)
    throw wrong(
        "--frames " + text +
        " is not a frame range; write frames, first:last or first:last:step with commas between them, "
        "as 0:89 or 1,5,10:20:2, or all");
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

} // namespace

FrameList parseFrames(const std::string& text) {
  constexpr std::size_t mostRanges = 1000;
  FrameList list;
  if (text == "all") return list;
  std::string_view rest = text;
  while (true) {
    const auto comma = rest.find(',');
    list.ranges.push_back(parseRange(text, rest.substr(0, comma)));
    if (list.ranges.size() > mostRanges)
      throw wrong("--frames has more than " + std::to_string(mostRanges) + " ranges; write fewer");
    if (comma == rest.npos) return list;
    rest.remove_prefix(comma + 1);
  }
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

std::string movieCodecNames() {
  std::string names;
  for (const host::MovieCodecName& codec : host::movieCodecNames())
    names += std::string(names.empty() ? "" : ", ") + codec.name;
  return names;
}

LONG parseMovieCodec(const std::string& text) {
  for (const host::MovieCodecName& codec : host::movieCodecNames())
    if (text == codec.name) return codec.id;
  throw wrong("--codec does not know \"" + text + "\"; write one of " + movieCodecNames());
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

TileGrid parseGrid(const std::string& option, const std::string& text) {
  const auto one = numbers(text, 'x', 1), two = numbers(text, 'x', 2);
  if (!one && !two)
    throw wrong(option + " " + text + " is not a grid; write columns and rows as 4x3, or a number as 12");
  const auto possible = [](LONG side) { return side >= 1 && side <= mostParts; };
  TileGrid grid{two ? (*two)[0] : one->front(), two ? (*two)[1] : 1};
  if (!possible(grid.columns) || !possible(grid.rows) || grid.count() > mostParts)
    throw wrong(option + " " + text + " is out of range; there can be 1 to " + std::to_string(mostParts) +
                " tiles");
  if (two) return grid;
  const LONG all = grid.columns;
  for (LONG rows = 1; rows * rows <= all; ++rows)
    if (all % rows == 0) grid = {all / rows, rows};
  return grid;
}

PictureTile parseTile(const std::string& text) {
  const auto slash = text.find('/');
  const auto number = numbers(std::string_view(text).substr(0, slash), '/', 1);
  if (!number || slash == std::string::npos)
    throw wrong("--tile " + text +
                " is not a tile; write the second of four columns and three rows as 2/4x3");
  const PictureTile tile{number->front(), parseGrid("--tile", text.substr(slash + 1))};
  if (tile.number < 1 || tile.number > tile.grid.count())
    throw wrong("--tile " + text + " is out of range; the first of the " + std::to_string(tile.grid.count()) +
                " tiles is 1");
  return tile;
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
