#include "pixel_probe.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

#include "layer_table.h"

namespace host {

namespace {

/// Reads a JSON string at `at`, which is behind its first quote; leaves `at` behind the last one.
std::string readText(std::string_view text, std::size_t& at) {
  std::string made;
  for (; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] != '\\') {
      made += text[at];
      continue;
    }
    if (++at >= text.size()) break;
    const char c = text[at];
    unsigned code = 0;
    if (c == 'u' && at + 4 < text.size()) {
      std::from_chars(text.data() + at + 1, text.data() + at + 5, code, 16);
      at += 4;
      if (code < 0x80) // our own writer escapes control characters only
        made += static_cast<char>(code);
      else
        made += '?';
    } else {
      made += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c == 'b' ? '\b' : c == 'f' ? '\f' : c;
    }
  }
  ++at;
  return made;
}

std::uint32_t bitsOf(float value) {
  return std::bit_cast<std::uint32_t>(value);
}

constexpr std::string_view numberNames = "/names", matteStart = "cryptomatte/", matteName = "/name",
                           matteList = "/manifest";

struct Source {
  ShownLayer shown;
  std::vector<FilmLayerPtr> layers; // empty: the film's colour
};

std::vector<Source> sourcesOf(const Film& film) {
  std::vector<Source> list;
  for (ShownLayer& shown : shownLayers(film)) {
    Source source{std::move(shown), {}};
    const std::string& name = source.shown.name;
    if (source.shown.kind == LayerKind::matte) {
      for (const FilmLayerPtr& layer : film.layers())
        if (layer->name().size() == name.size() + 2 && layer->name().starts_with(name))
          source.layers.push_back(layer);
    } else if (const FilmLayerPtr layer = name.empty() ? nullptr : film.findLayer(name)) {
      source.layers.push_back(layer);
    } else if (!name.empty() && name != beautyLayer) {
      continue; // a render has taken it away meanwhile
    }
    list.push_back(std::move(source));
  }
  return list;
}

ProbeRow rowOf(const Source& source) {
  const bool color = source.layers.empty();
  return {source.shown.name,
          source.shown.label,
          source.shown.group,
          color ? "RGBA" : source.layers[0]->channels(),
          {},
          {},
          {},
          {}};
}

void readValues(const Film& film, const Source& source, int x, int y, std::vector<float>& values) {
  if (!source.layers.empty()) return source.layers[0]->get(film.pixelAt(x, y), values.data());
  source.shown.name.empty() ? film.getShown(x, y, values.data()) : film.getColor(x, y, values.data());
}

/// "Box 75 %, Floor 25 %".
std::string sharesAt(const Film& film, const Source& source, const FilmNames& names, int x, int y) {
  std::string text;
  for (const FilmLayerPtr& layer : source.layers) {
    float values[4];
    layer->get(film.pixelAt(x, y), values);
    for (int i = 0; i < 4; i += 2) {
      if (!(values[i + 1] > 0)) continue;
      const std::string name = names.nameOf(source.shown.name, values[i]);
      const float share = std::min(values[i + 1], 1.0f);
      text += (text.empty() ? "" : ", ") + (name.empty() ? std::string("?") : name) + " " +
              std::to_string(std::lround(share * 100)) + " %";
    }
  }
  return text;
}

bool isLightGroup(const ProbeRow& row) {
  return row.layer.starts_with(lightGroupPrefix) && row.values.size() >= 3;
}

// Luminance after Rec. 709, of light that is finite and not negative.
double brightnessOf(const ProbeRow& row) {
  constexpr double weights[] = {0.2126, 0.7152, 0.0722};
  double sum = 0;
  for (std::size_t i = 0; i < 3; ++i)
    if (std::isfinite(row.values[i])) sum += weights[i] * std::max(0.0, static_cast<double>(row.values[i]));
  return sum;
}

void addShares(std::vector<ProbeRow>& rows) {
  double whole = 0;
  for (const ProbeRow& row : rows)
    if (isLightGroup(row)) whole += brightnessOf(row);
  if (!(whole > 0)) return;
  for (ProbeRow& row : rows)
    if (isLightGroup(row)) row.names = std::to_string(std::lround(100 * brightnessOf(row) / whole)) + " %";
}

} // namespace

std::map<std::string, std::string> flatJson(std::string_view text) {
  std::map<std::string, std::string> pairs;
  std::string key;
  bool isValue = false;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at++];
    if (c == ':') isValue = true;
    if (c == ',') isValue = false;
    if (c != '"') continue;
    std::string word = readText(text, at);
    if (isValue)
      pairs.insert_or_assign(key, std::move(word));
    else
      key = std::move(word);
    isValue = false;
  }
  return pairs;
}

FilmNames::FilmNames(const Film& film) {
  const std::map<std::string, std::string> notes = film.notes();
  for (const auto& [key, text] : notes) {
    if (key.ends_with(numberNames)) {
      auto& names = names_[key.substr(0, key.size() - numberNames.size())];
      for (const auto& [number, name] : flatJson(text)) {
        unsigned value = 0;
        std::from_chars(number.data(), number.data() + number.size(), value);
        names.emplace(bitsOf(static_cast<float>(value)), name);
      }
    }
    if (!key.starts_with(matteStart) || !key.ends_with(matteName)) continue;
    const auto list = notes.find(key.substr(0, key.size() - matteName.size()) + std::string(matteList));
    if (list == notes.end()) continue;
    auto& names = names_[text];
    for (const auto& [name, hash] : flatJson(list->second)) {
      std::uint32_t bits = 0;
      std::from_chars(hash.data(), hash.data() + hash.size(), bits, 16);
      names.emplace(bits, name);
    }
  }
}

std::string FilmNames::nameOf(const std::string& layer, float number) const {
  const auto names = names_.find(layer);
  if (names == names_.end()) return {};
  const auto name = names->second.find(bitsOf(number));
  return name == names->second.end() ? std::string() : name->second;
}

std::vector<ProbeRow> probePixel(const Film& film, const FilmNames& names, int x, int y) {
  std::vector<ProbeRow> rows;
  for (const Source& source : sourcesOf(film)) {
    ProbeRow row = rowOf(source);
    if (source.shown.kind == LayerKind::matte) {
      row.channels.clear();
      row.names = sharesAt(film, source, names, x, y);
    } else {
      row.values.resize(std::max<std::size_t>(row.channels.size(), 4));
      readValues(film, source, x, y, row.values);
      row.values.resize(row.channels.size());
      if (row.values.size() == 1) row.names = names.nameOf(row.layer, row.values[0]);
    }
    rows.push_back(std::move(row));
  }
  addShares(rows);
  return rows;
}

std::vector<ProbeRow> probeRect(const Film& film, PixelRect rect) {
  const int left = std::max(rect.left, 0), top = std::max(rect.top, 0);
  const int right = std::min(rect.left + rect.width, film.width());
  const int bottom = std::min(rect.top + rect.height, film.height());
  std::vector<ProbeRow> rows;
  if (left >= right || top >= bottom) return rows;
  for (const Source& source : sourcesOf(film)) {
    if (source.shown.kind == LayerKind::matte || source.shown.kind == LayerKind::ids) continue;
    ProbeRow row = rowOf(source);
    const std::size_t count = row.channels.size();
    std::vector<float> values(std::max<std::size_t>(count, 4));
    std::vector<double> sums(count);
    std::vector<std::size_t> finite(count);
    row.values.assign(count, 0);
    row.least = row.most = row.values;
    for (int y = top; y < bottom; ++y)
      for (int x = left; x < right; ++x) {
        readValues(film, source, x, y, values);
        for (std::size_t c = 0; c < count; ++c) {
          if (!std::isfinite(values[c])) continue;
          row.least[c] = finite[c] == 0 ? values[c] : std::min(row.least[c], values[c]);
          row.most[c] = finite[c] == 0 ? values[c] : std::max(row.most[c], values[c]);
          sums[c] += static_cast<double>(values[c]);
          ++finite[c];
        }
      }
    for (std::size_t c = 0; c < count; ++c)
      if (finite[c] > 0) row.values[c] = static_cast<float>(sums[c] / static_cast<double>(finite[c]));
    rows.push_back(std::move(row));
  }
  addShares(rows);
  return rows;
}

} // namespace host
