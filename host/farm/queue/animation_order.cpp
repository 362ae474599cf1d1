#include "animation_order.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <system_error>

#include <nlohmann/json.hpp>

#include "c4d_filename.h"
#include "movie_options.h"
#include "picture_formats.h"

namespace host::farm {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::size_t mostFrameText = 4000;

std::string withoutSpaces(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t'; });
  return text;
}

bool isFrameText(const std::string& text) {
  static const std::regex list(
      "all|-?[0-9]{1,7}(:-?[0-9]{1,7}(:[0-9]{1,7})?)?(,-?[0-9]{1,7}(:-?[0-9]{1,7}(:[0-9]{1,7})?)?)*");
  return text.size() <= mostFrameText && std::regex_match(text, list);
}

std::string problemOfOutput(const AnimationOrder& order) {
  if (order.output.empty()) return "Choose a file for the output.";
  std::error_code failed;
  const fs::path file(order.output);
  if (!fs::is_directory(file.parent_path(), failed))
    return "The folder \"" + file.parent_path().string() +
           "\" does not exist. Make it, or choose another place for the output.";
  const OutputKind kind = outputKind(order.output);
  if (!kind.known)
    return "The output needs a suffix that says its format, such as \".mp4\", \".exr\" or \".png\".";
  if (kind.movie && file.stem().string().find('#') != std::string::npos)
    return "A movie has no place for a frame's number. Leave out the #, or choose a suffix of pictures.";
  if (kind.movie && !order.replace && fs::exists(file, failed))
    return "\"" + order.output +
           "\" exists already. Tick \"Replace an existing movie\", or choose another name.";
  return {};
}

// Values of JSON, with the default where the type differs.
void take(const Json& json, const char* name, std::string& value) {
  if (const auto found = json.find(name); found != json.end() && found->is_string())
    value = found->get<std::string>();
}
void take(const Json& json, const char* name, LONG& value) {
  if (const auto found = json.find(name); found != json.end() && found->is_number_integer())
    value = static_cast<LONG>(std::clamp<std::int64_t>(found->get<std::int64_t>(), 0, 1'000'000));
}
void take(const Json& json, const char* name, bool& value) {
  if (const auto found = json.find(name); found != json.end() && found->is_boolean())
    value = found->get<bool>();
}

/// Calls `visit` with the name and the field of every value.
template <class Order, class Visit>
void eachField(Order& order, const Visit& visit) {
  visit("output", order.output), visit("frames", order.frames);
  visit("width", order.width), visit("height", order.height);
  visit("camera", order.camera), visit("samples", order.samples);
  visit("codec", order.codec), visit("compression", order.compression), visit("quality", order.quality);
  visit("deep", order.deep);
  visit("alpha", order.alpha), visit("half", order.half), visit("all_layers", order.allLayers);
  visit("stamps", order.stamps), visit("denoise", order.denoise);
  visit("keep", order.keep), visit("replace", order.replace);
}

} // namespace

OutputKind outputKind(const std::string& output) {
  OutputKind kind;
  const Filename file{String(output)};
  if (movieFormatOf(file) != 0) {
    kind.known = kind.movie = kind.quality = kind.alpha = true;
    return kind;
  }
  const PictureFileFormat* format = formatOfSuffix(file.GetSuffix().GetUTF8());
  if (!format || format->filter == 0) return kind;
  kind.known = true;
  kind.exr = format->filter == FILTER_EXR;
  kind.quality = format->option == WriterOption::quality;
  kind.alpha = format->alpha;
  kind.deep = holdsDeep(format->filter);
  return kind;
}

std::string problemOf(const AnimationOrder& order) {
  std::string problem = problemOfOutput(order);
  if (!problem.empty()) return problem;
  const std::string frames = withoutSpaces(order.frames);
  if (!isFrameText(frames))
    return "The frames are numbers and ranges with commas between them, as \"0:89\", \"0:89:2\" or "
           "\"1,5,9:12\", or "
           "\"all\".";
  if (outputKind(order.output).movie && frames.find(',') != std::string::npos)
    return "The frames of a movie have one distance, as \"0:89\" or \"0:89:2\".";
  return {};
}

std::vector<std::string> animateArguments(const AnimationOrder& order, const std::string& scene) {
  const OutputKind kind = outputKind(order.output);
  std::vector<std::string> list{"animate", scene, "--output=" + order.output,
                                "--frames=" + withoutSpaces(order.frames)};
  const auto add = [&list](const char* name, const std::string& value) {
    if (!value.empty()) list.push_back("--" + std::string(name) + "=" + value);
  };
  const auto addFlag = [&list](const char* name, bool wanted) {
    if (wanted) list.push_back("--" + std::string(name));
  };
  if (order.width > 0 && order.height > 0)
    add("size", std::to_string(order.width) + "x" + std::to_string(order.height));
  add("camera", order.camera);
  if (order.samples > 0) add("samples", std::to_string(order.samples));
  if (kind.movie) add("codec", order.codec);
  if (kind.exr) add("compression", order.compression);
  if (kind.quality && order.quality > 0) add("quality", std::to_string(order.quality));
  if (order.deep && kind.deep) add("bits", "16");
  addFlag("alpha", order.alpha && kind.alpha);
  addFlag("half", order.half && kind.exr);
  if (order.allLayers && kind.exr) add("layers", "all");
  addFlag("stamps", order.stamps);
  if (order.denoise) add("denoise", "end");
  addFlag("keep", order.keep && !kind.movie);
  addFlag("overwrite", order.replace && kind.movie);
  return list;
}

std::string textOf(const AnimationOrder& order) {
  Json json;
  eachField(order, [&json](const char* name, const auto& value) { json[name] = value; });
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<AnimationOrder> animationOrderOf(const std::string& text) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  AnimationOrder order;
  eachField(order, [&json](const char* name, auto& value) { take(json, name, value); });
  if (order.output.empty() || !isFrameText(withoutSpaces(order.frames))) return std::nullopt;
  return order;
}

} // namespace host::farm
