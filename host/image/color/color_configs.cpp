#include "color_configs.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

#include "console.h"

namespace host {
namespace {

std::unique_ptr<ColorConfig> loadConfig(const std::string& file, bool ofVariable) {
  try {
    return colorLibrary().load(file);
  } catch (const std::exception& error) {
    printLine(String("The colour configuration \"" + file + "\" is not used: " + error.what() +
                     ". The built-in views remain; correct the file, or " +
                     (ofVariable ? "take it out of the variable OCIO." : "choose another one.")));
    return nullptr;
  }
}

} // namespace

const ColorConfig* colorConfigOf(const std::string& name) {
  static std::mutex guard;
  static std::map<std::string, std::unique_ptr<ColorConfig>> configs;
  const char* variable = std::getenv("OCIO");
  const std::string file = name.empty() && variable ? variable : name;
  if (file.empty()) return nullptr;
  const std::lock_guard lock(guard);
  const auto found = configs.find(file);
  if (found != configs.end()) return found->second.get();
  return (configs[file] = loadConfig(file, name.empty())).get();
}

} // namespace host
