// Libraries that the program loads at its start; and the program in another place, with and without its
// parts.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <vector>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

class Startup : public testing::Test {
 protected:
  // Runs a command line of the shell; standard output and errors together.
  std::string output(const std::string& command) {
    const std::string whole = "LUMENARA_HOME='" + (folder / "home") + "' " + command + " 2>&1 </dev/null";
    FILE* pipe = popen(whole.c_str(), "r");
    if (!pipe) return "no shell";
    std::string text;
    std::array<char, 4096> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
      text.append(buffer.data(), count);
    const int status = pclose(pipe);
    code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return text;
  }

  // File names of the libraries that a run of the program has initialised, those loaded later among them.
  std::vector<std::string> librariesOf(const std::string& arguments) {
    std::istringstream lines(output("LD_DEBUG=libs '" LUMENARA_BIN "' " + arguments));
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) {
      const std::string mark = "calling init: ";
      const std::size_t at = line.find(mark);
      if (at != std::string::npos) found.push_back(fs::path(line.substr(at + mark.size())).filename());
    }
    return found;
  }

  // The program and the host's library in a folder of their own.
  std::string movedProgram() {
    const fs::path root = folder.path() / "elsewhere";
    fs::create_directories(root / "bin");
    fs::create_directories(root / "lib");
    fs::create_directory_symlink(LUMENARA_PLUGINS_DIR, root / "plugins"); // the plug-in's resources
    fs::copy_file(LUMENARA_BIN, root / "bin" / "lumenara");
    fs::copy_file(builtLibrary("liblumenara_host.so"), root / "lib" / "liblumenara_host.so");
    return root / "bin" / "lumenara";
  }
  static fs::path builtLibrary(const std::string& name) {
    return fs::path(LUMENARA_BIN).parent_path().parent_path() / "lib" / name;
  }
  void giveIt(const std::string& part) {
    fs::copy_file(builtLibrary(part), folder.path() / "elsewhere" / "lib" / part);
  }

  TempFolder folder;
  int code = -1; // of the last run
};

bool holds(const std::vector<std::string>& libraries, const std::string& part) {
  for (const std::string& name : libraries)
    if (name.find(part) != std::string::npos) return true;
  return false;
}

// Each of these loads many more, or takes much memory.
constexpr const char* rare[] = {"lumenara_ffmpeg", "lumenara_import", "lumenara_ocio",
                                "libOpenColorIO",  "libavcodec",      "libavformat",
                                "libassimp",       "libMagick",       "libOpenImageIO"};

TEST_F(Startup, LoadsFewLibraries) {
  const std::vector<std::string> libraries = librariesOf("--version");
  EXPECT_EQ(code, 0);
  ASSERT_TRUE(holds(libraries, "liblumenara_host")) << "the loader's report was not understood";
  for (const char* name : rare)
    EXPECT_FALSE(holds(libraries, name)) << name;
  EXPECT_LE(libraries.size(), 60u) << testing::PrintToString(libraries);
}

TEST_F(Startup, InfoOfAnOrdinarySceneLoadsNoMore) {
  const std::string demo = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  const std::vector<std::string> libraries = librariesOf("info '" + demo + "'");
  EXPECT_EQ(code, 0);
  EXPECT_EQ(libraries, librariesOf("--version"));
}

TEST_F(Startup, AnImportLoadsItsPartAlone) {
  writeFile(folder / "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const std::vector<std::string> libraries = librariesOf("info '" + (folder / "a.obj") + "'");
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(holds(libraries, "lumenara_import"));
  EXPECT_TRUE(holds(libraries, "libassimp"));
  EXPECT_FALSE(holds(libraries, "lumenara_ffmpeg"));
}

TEST_F(Startup, ARenderLoadsColourManagementForAViewThatNeedsIt) {
  const std::string scene = writeTinyScene(folder.path());
  const std::string render =
      "render '" + scene + "' --size 16x16 --samples 1 --quiet -o '" + (folder / "a.png") + "' ";
  EXPECT_FALSE(holds(librariesOf(render), "libOpenColorIO"));
  EXPECT_FALSE(holds(librariesOf(render + "--view Filmic --exposure 1"), "libOpenColorIO"));
  EXPECT_TRUE(holds(librariesOf(render + "--view 'ACES SDR'"), "libOpenColorIO"));
  EXPECT_EQ(code, 0);
}

TEST_F(Startup, AMissingPartFailsItsOwnJobOnly) {
  const std::string program = "'" + movedProgram() + "' ", scene = writeTinyScene(folder.path());
  writeFile(folder / "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");

  EXPECT_NE(output(program + "info '" + scene + "'").find("triangles   4"), std::string::npos);
  EXPECT_EQ(code, 0);

  const std::string import = "info '" + (folder / "a.obj") + "'";
  const std::string noImport = output(program + import);
  EXPECT_NE(code, 0);
  EXPECT_NE(noImport.find("elsewhere/lib/lumenara_import.so\" cannot be loaded"), std::string::npos)
      << noImport;
  EXPECT_NE(noImport.find("Install the program again."), std::string::npos) << noImport;

  const std::string movie =
      "animate '" + scene + "' --frames 0:1 --size 32x32 --samples 1 -o '" + (folder / "a.mov") + "'";
  const std::string noMovie = output(program + movie);
  EXPECT_NE(code, 0);
  EXPECT_NE(noMovie.find("elsewhere/lib/lumenara_ffmpeg.so\" cannot be loaded"), std::string::npos)
      << noMovie;
  EXPECT_NE(noMovie.find("Install the package lumenara-movie"), std::string::npos) << noMovie;
  EXPECT_FALSE(fs::exists(folder / "a.mov"));

  // The parts beside the library are found wherever both lie.
  giveIt("lumenara_import.so");
  giveIt("lumenara_ffmpeg.so");
  EXPECT_NE(output(program + import).find("triangles   1"), std::string::npos);
  EXPECT_EQ(code, 0);
  const std::string written = output(program + movie);
  EXPECT_EQ(code, 0) << written;
  EXPECT_TRUE(fs::exists(folder / "a.mov"));
}

TEST_F(Startup, ADamagedPartFailsItsJobWithAReason) {
  const std::string program = "'" + movedProgram() + "' ";
  writeFile(folder / "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  giveIt("lumenara_import.so");
  const fs::path part = folder.path() / "elsewhere" / "lib" / "lumenara_import.so";
  fs::resize_file(part, fs::file_size(part) / 2);
  const std::string text = output(program + "info '" + (folder / "a.obj") + "'");
  EXPECT_NE(code, 0);
  EXPECT_NE(text.find("its end is missing"), std::string::npos) << text;
}

} // namespace
} // namespace batchtest
