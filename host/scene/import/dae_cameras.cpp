#include "dae_cameras.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <string>

namespace host {

namespace {

// The value of an attribute in the tag that starts at `at`.
std::string attribute(std::string_view file, std::size_t at, std::string_view name) {
  const std::string_view tag = file.substr(at, std::min(file.find('>', at), file.size()) - at);
  const std::size_t start = tag.find(std::string(name) + "=\"");
  if (start == std::string_view::npos) return {};
  const std::size_t first = start + name.size() + 2, end = tag.find('"', first);
  return std::string(tag.substr(first, end == std::string_view::npos ? end : end - first));
}

// The number in an element of this name; 0 without one.
double number(std::string_view part, std::string_view name) {
  const std::size_t open = part.find("<" + std::string(name));
  const std::size_t start = open == std::string_view::npos ? open : part.find('>', open);
  if (start == std::string_view::npos) return 0;
  const std::string text(part.substr(start + 1, 40));
  const double value = std::strtod(text.c_str(), nullptr);
  return std::isfinite(value) && value > 0 ? value : 0;
}

DaeCamera cameraIn(std::string_view part) {
  constexpr double degree = 0.017453292519943295;
  return {number(part, "xfov") * degree, number(part, "yfov") * degree, number(part, "aspect_ratio"),
          number(part, "znear"),         number(part, "xmag"),          number(part, "ymag")};
}

} // namespace

std::vector<DaeCamera> readDaeCameras(std::string_view file) {
  std::map<std::string, DaeCamera> known;
  for (std::size_t at = file.find("<camera "); at != std::string_view::npos;
       at = file.find("<camera ", at + 1)) {
    const std::size_t end = file.find("</camera>", at);
    if (end == std::string_view::npos) break;
    known.emplace(attribute(file, at, "id"), cameraIn(file.substr(at, end - at)));
  }
  std::vector<DaeCamera> used;
  constexpr std::string_view use = "<instance_camera ";
  for (std::size_t at = file.find(use); at != std::string_view::npos; at = file.find(use, at + 1)) {
    const std::string url = attribute(file, at, "url");
    const auto found = known.find(url.empty() ? url : url.substr(1));
    used.push_back(found == known.end() ? DaeCamera() : found->second);
  }
  return used;
}

} // namespace host
