#include <bit>
#include <charconv>
#include <cmath>
#include <sstream>

#include "layer_sums.h"

namespace host::render {
namespace {

// Names may hold any character; a word holds no blank, comma or line break.
std::string wordOf(const std::string& text) {
  constexpr char digits[] = "0123456789abcdef";
  std::string word;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    word += digits[byte >> 4], word += digits[byte & 15];
  }
  return word;
}

int digitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::optional<std::string> textOfWord(const std::string& word) {
  std::string text;
  if (word.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < word.size(); i += 2) {
    const int high = digitOf(word[i]), low = digitOf(word[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    text += static_cast<char>(16 * high + low);
  }
  return text;
}

// Numbers of mattes are chosen by their bits.
std::string listOf(const std::vector<float>& numbers) {
  std::string list;
  for (const float number : numbers)
    list += (list.empty() ? "" : ",") + std::to_string(std::bit_cast<std::uint32_t>(number));
  return list.empty() ? "-" : list;
}

bool readList(const std::string& list, std::vector<float>& numbers) {
  if (list == "-") return true;
  const char* at = list.data();
  const char* const end = at + list.size();
  while (true) {
    std::uint32_t bits = 0;
    const auto [next, error] = std::from_chars(at, end, bits);
    if (error != std::errc() || !std::isfinite(std::bit_cast<float>(bits))) return false;
    numbers.push_back(std::bit_cast<float>(bits));
    if (next == end) return true;
    if (*next != ',') return false;
    at = next + 1;
  }
}

std::string realText(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

bool readReal(const std::string& text, Real& value) {
  double read = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
  value = static_cast<Real>(read);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(read);
}

} // namespace

LayerFacts layerFactsOf(const RayScene& scene, const RenderSettings& settings) {
  LayerFacts facts;
  facts.origin = scene.origin();
  facts.catchesShadows = scene.catchesShadows() && !settings.preview;
  if (settings.wantedLayers() & lightGroupLayers) facts.groups = scene.groups().names();
  if (settings.wantedLayers() & cryptomatteLayers) facts.mattes = matteNumbersOf(scene);
  return facts;
}

std::string textOf(const LayerFacts& facts) {
  std::string text = realText(facts.origin.x) + " " + realText(facts.origin.y) + " " +
                     realText(facts.origin.z) + (facts.catchesShadows ? " 1 " : " 0 ");
  text +=
      listOf(facts.mattes.objects) + " " + listOf(facts.mattes.assets) + " " + listOf(facts.mattes.materials);
  for (const std::string& group : facts.groups)
    text += " " + wordOf(group);
  return text;
}

std::optional<LayerFacts> layerFactsOf(const std::string& text) {
  constexpr std::size_t mostGroups = 256;
  std::istringstream words(text);
  std::string x, y, z, caught, objects, assets, materials;
  if (!(words >> x >> y >> z >> caught >> objects >> assets >> materials)) return std::nullopt;
  LayerFacts facts;
  if (!readReal(x, facts.origin.x) || !readReal(y, facts.origin.y) || !readReal(z, facts.origin.z))
    return std::nullopt;
  facts.catchesShadows = caught == "1";
  MatteNumbers& mattes = facts.mattes;
  if (!readList(objects, mattes.objects) || !readList(assets, mattes.assets) ||
      !readList(materials, mattes.materials) || mattes.objects.size() != mattes.assets.size())
    return std::nullopt;
  for (std::string word; words >> word;) {
    auto name = textOfWord(word);
    if (!name || facts.groups.size() == mostGroups) return std::nullopt;
    facts.groups.push_back(std::move(*name));
  }
  return facts;
}

} // namespace host::render
