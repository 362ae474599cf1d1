#include "input_colors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <mutex>
#include <utility>

#include "color_configs.h"
#include "console.h"
#include "display_transform.h"

namespace host {
namespace {

/// Whether grey and strong colours have the light of sRGB's codes, to a quarter of an 8-bit code.
bool isSrgb(const ColorProcessor& processor) {
  constexpr int steps = 6, count = steps * steps * steps;
  for (int i = 0; i < count; ++i) {
    const std::array<int, 3> place{i % steps, i / steps % steps, i / steps / steps};
    float rgb[3];
    for (std::size_t c = 0; c < 3; ++c)
      rgb[c] = static_cast<float>(place[c]) / (steps - 1);
    processor.apply(rgb, 1);
    for (std::size_t c = 0; c < 3; ++c) {
      const double code = linearToSrgb(static_cast<double>(rgb[c])) * 255;
      if (!(std::abs(code - place[c] * 255.0 / (steps - 1)) < 0.25)) return false;
    }
  }
  return true;
}

/// The light of a picture, row by row.
class LightRows {
 public:
  LightRows(const DecodedPicture& picture, const ColorProcessor& processor)
      : picture_(picture), processor_(processor), light_(3 * static_cast<std::size_t>(picture.width)) {}

  const std::vector<float>& row(int y) {
    const std::size_t first = 4 * static_cast<std::size_t>(y) * width();
    for (std::size_t x = 0; x < width(); ++x)
      for (std::size_t c = 0; c < 3; ++c)
        light_[3 * x + c] = value(first + 4 * x + c);
    processor_.apply(light_.data(), width());
    for (float& v : light_)
      if (!std::isfinite(v)) v = 0;
    return light_;
  }
  std::size_t width() const { return static_cast<std::size_t>(picture_.width); }
  float value(std::size_t at) const {
    if (!picture_.floats.empty()) return picture_.floats[at];
    return picture_.words.empty() ? static_cast<float>(picture_.bytes[at]) / 255
                                  : static_cast<float>(picture_.words[at]) / 65535;
  }

 private:
  const DecodedPicture& picture_;
  const ColorProcessor& processor_;
  std::vector<float> light_;
};

DecodedPicture withoutPixels(const DecodedPicture& picture) {
  DecodedPicture made;
  made.width = picture.width;
  made.height = picture.height;
  made.hasAlpha = picture.hasAlpha;
  made.notFinite = picture.notFinite;
  return made;
}

/// False when a value has no sRGB code.
bool addWords(LightRows& rows, DecodedPicture& made) {
  constexpr float tolerance = 1e-4f;
  made.words.reserve(4 * rows.width() * static_cast<std::size_t>(made.height));
  for (int y = 0; y < made.height; ++y) {
    const std::vector<float>& light = rows.row(y);
    for (std::size_t x = 0; x < rows.width(); ++x) {
      for (std::size_t c = 3 * x; c < 3 * x + 3; ++c) {
        if (light[c] < -tolerance || light[c] > 1 + tolerance) return false;
        made.words.push_back(toDisplayWord(light[c]));
      }
      made.words.push_back(static_cast<std::uint16_t>(rows.value(made.words.size()) * 65535 + 0.5f));
    }
  }
  return true;
}

void addFloats(LightRows& rows, DecodedPicture& made) {
  made.floats.reserve(4 * rows.width() * static_cast<std::size_t>(made.height));
  for (int y = 0; y < made.height; ++y) {
    const std::vector<float>& light = rows.row(y);
    for (std::size_t x = 0; x < rows.width(); ++x) {
      made.floats.insert(made.floats.end(), light.begin() + static_cast<std::ptrdiff_t>(3 * x),
                         light.begin() + static_cast<std::ptrdiff_t>(3 * x + 3));
      made.floats.push_back(rows.value(made.floats.size()));
    }
  }
}

std::unique_ptr<InputColors> make(const ColorConfig& config, const std::string& space) {
  try {
    return std::make_unique<InputColors>(config.toRec709(space));
  } catch (const std::exception& error) {
    printLine(String("Textures in the colour space \"" + space + "\" are shown as their files say: " +
                     error.what() + ". Correct the colour configuration."));
    return nullptr;
  }
}

std::string spaceOf(const ColorConfig& config, const std::string& file) {
  try {
    return config.spaceOfFile(file);
  } catch (const std::exception&) { // a name that the rules cannot read
    return {};
  }
}

} // namespace

InputColors::InputColors(std::unique_ptr<ColorProcessor> processor)
    : processor_(std::move(processor)), srgb_(isSrgb(*processor_)) {
}
InputColors::~InputColors() = default;

std::shared_ptr<const DecodedPicture>
InputColors::toRec709(std::shared_ptr<const DecodedPicture> picture) const {
  const bool floats = !picture->floats.empty();
  if (!floats && srgb_) return picture;
  LightRows rows(*picture, *processor_);
  DecodedPicture made = withoutPixels(*picture);
  if (floats || !addWords(rows, made)) {
    made.words = {};
    addFloats(rows, made);
  }
  return std::make_shared<const DecodedPicture>(std::move(made));
}

const InputColors* inputColors(const std::string& configFile, const std::string& file) {
  const ColorConfig* config = colorConfigOf(configFile);
  const std::string space = config ? spaceOf(*config, file) : std::string();
  if (space.empty()) return nullptr;
  static std::mutex guard;
  static std::map<std::pair<const ColorConfig*, std::string>, std::unique_ptr<InputColors>> known;
  const std::lock_guard lock(guard);
  const auto [place, fresh] = known.try_emplace({config, space});
  if (fresh) place->second = make(*config, space);
  return place->second.get();
}

} // namespace host
