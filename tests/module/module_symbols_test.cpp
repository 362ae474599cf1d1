// The symbols that the built module exports and imports.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::string module = LUMENARA_PLUGINS_DIR "/Lumenara/lumenara.so";
const std::string interfaceLibrary = LUMENARA_PLUGINS_DIR "/../source/interface/liblumenara_host.so";

std::vector<std::string> linesOf(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string text;
  std::array<char, 4096> bytes{};
  while (pipe && std::fgets(bytes.data(), static_cast<int>(bytes.size()), pipe.get()))
    text += bytes.data();
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

/// The last word of each line: the symbol.
std::set<std::string> symbols(const std::string& options, const std::string& file) {
  std::set<std::string> names;
  for (const std::string& line : linesOf("nm -D " + options + " '" + file + "'"))
    names.insert(line.substr(line.rfind(' ') + 1));
  return names;
}

TEST(ModuleSymbols, ExportsTheThreeEntryPointsOnly) {
  ASSERT_TRUE(std::filesystem::exists(module)) << module;
  EXPECT_EQ(symbols("--defined-only", module),
            (std::set<std::string>{"PluginEnd", "PluginMessage", "PluginStart"}));
}

// Imports come from the interface, or with a version from the libraries of the language and the system.
TEST(ModuleSymbols, TakesTheInterfaceAndTheRuntimeOnly) {
  ASSERT_TRUE(std::filesystem::exists(interfaceLibrary)) << interfaceLibrary;
  const std::set<std::string> offered = symbols("--defined-only", interfaceLibrary);
  ASSERT_GT(offered.size(), 100u);
  std::size_t used = 0;
  for (const std::string& line : linesOf("nm -D --undefined-only '" + module + "'")) {
    const std::string name = line.substr(line.rfind(' ') + 1);
    if (const auto at = name.find('@'); at != std::string::npos) {
      const std::string version = name.substr(at + 1);
      EXPECT_TRUE(version.rfind("GLIBC", 0) == 0 || version.rfind("CXXABI", 0) == 0 ||
                  version.rfind("GCC", 0) == 0 || version.rfind("@GLIBC", 0) == 0)
          << name;
      continue;
    }
    if (line.find(" w ") != std::string::npos) continue; // may be absent
    EXPECT_TRUE(offered.count(name)) << name << " is no part of the interface";
    ++used;
  }
  EXPECT_GT(used, 30u);
}

} // namespace
