#include "scene_pictures.h"

#include <filesystem>
#include <map>

#include "exit_code.h"

namespace batch {
namespace {

constexpr const char* place = "{name}";

bool isFolder(const std::string& image) {
  std::error_code ignored;
  return image.ends_with('/') || std::filesystem::is_directory(image, ignored);
}

} // namespace

std::string withName(std::string text, const std::string& name) {
  for (std::size_t at = text.find(place); at != std::string::npos; at = text.find(place, at + name.size()))
    text.replace(at, std::string(place).size(), name);
  return text;
}

std::string sceneName(const std::string& scene) {
  return std::filesystem::path(scene).stem().string();
}

std::vector<std::string> scenePictures(const std::vector<std::string>& scenes, const std::string& image) {
  std::string pattern = image;
  if (image.ends_with('/') || (scenes.size() > 1 && isFolder(image)))
    pattern += std::string(image.ends_with('/') ? "" : "/") + place + ".png";
  std::vector<std::string> pictures;
  std::map<std::string, std::string> writers;
  for (const std::string& scene : scenes) {
    pictures.push_back(withName(pattern, sceneName(scene)));
    const auto [earlier, isNew] = writers.emplace(pictures.back(), scene);
    if (!isNew)
      throw Stop(ExitCode::wrongUse,
                 earlier->second + " and " + scene + " would both be written to " + pictures.back() +
                     "; give -o a folder or a name with {name}, and scenes of different names");
  }
  return pictures;
}

} // namespace batch
