// Parts of the host are found, loaded once at first use, and refused with a reason.
#include <gtest/gtest.h>

#include <barrier>
#include <filesystem>
#include <thread>

#include "part.h"
#include "platform.h"
#include "temporary_folder.h"

namespace {

using host::Part;
using host::PartError;

const std::string library = std::string("lumenara_test.") + host::platform::moduleSuffix();

std::string loaderError(Part& part) {
  try {
    part.as<int>();
  } catch (const PartError& error) {
    return error.what();
  }
  return "it was loaded";
}

// The clause names the file and the reason.
void expectRefused(const TemporaryFolder& folder, const std::string& reason) {
  Part part("test", folder.path());
  const std::string error = loaderError(part), file = (folder / library.c_str()).GetString().GetUTF8();
  const std::size_t at = error.find(file);
  EXPECT_NE(at, std::string::npos) << error;
  EXPECT_EQ(error.find(file, at + 1), std::string::npos) << "named twice: " << error;
  EXPECT_NE(error.find(reason), std::string::npos) << error;
}

std::string bytesOfThePart() {
  return readText(Filename(LUMENARA_TEST_MODULES) + library.c_str());
}

TEST(Parts, LieBesideTheHostsLibrary) {
  const Filename host = host::platform::libraryPath();
  EXPECT_EQ(host.GetFileString().GetUTF8().find("liblumenara_host."), 0u);
  EXPECT_TRUE(std::filesystem::path(host.GetString().GetUTF8()).is_absolute());
  const Part part("test");
  EXPECT_EQ(part.file().GetDirectory().GetString(), host.GetDirectory().GetString());
  EXPECT_EQ(part.file().GetFileString().GetUTF8(), library);
}

TEST(Parts, AreLoadedOnceWhenTheyAreNeeded) {
  TemporaryFolder folder; // a file of its own, which no other test has loaded
  Part part("test", folder.path());
  const Filename file = folder.write(library.c_str(), bytesOfThePart()); // only now
  int& asked = part.as<int>();
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(&part.as<int>(), &asked);
  std::filesystem::remove(file.GetString().GetUTF8()); // it stays loaded
  EXPECT_EQ(&part.as<int>(), &asked);
  EXPECT_EQ(asked, 1);
}

TEST(Parts, AreLoadedOnceByManyThreads) {
  TemporaryFolder folder;
  folder.write(library.c_str(), bytesOfThePart());
  Part part("test", folder.path());
  constexpr int count = 16;
  std::barrier start(count);
  std::vector<int*> seen(count);
  std::vector<std::thread> threads;
  for (int*& place : seen)
    threads.emplace_back([&] {
      start.arrive_and_wait();
      place = &part.as<int>();
    });
  for (std::thread& thread : threads)
    thread.join();
  for (const int* place : seen)
    EXPECT_EQ(place, seen[0]);
  EXPECT_EQ(*seen[0], 1);
}

TEST(Parts, ThatAreLinkedAreNotLookedFor) {
  static int interface = 7;
  Part part(
      "nowhere", +[]() -> void* { return &interface; });
  EXPECT_EQ(&part.as<int>(), &interface);
}

TEST(Parts, ThatAreMissingAreRefusedUntilTheyAreThere) {
  TemporaryFolder folder;
  expectRefused(folder, "o such file");
  Part part("test", folder.path());
  EXPECT_NE(loaderError(part).find("o such file"), std::string::npos);
  EXPECT_NE(loaderError(part).find("o such file"), std::string::npos); // once more
  folder.write(library.c_str(), bytesOfThePart());
  EXPECT_EQ(part.as<int>(), 1);
}

TEST(Parts, ThatAreDamagedAreRefused) {
  TemporaryFolder folder;
  const std::string whole = bytesOfThePart();
  folder.write(library.c_str());
  expectRefused(folder, "too short");
  folder.write(library.c_str(), std::string(whole.size(), 'x'));
  expectRefused(folder, "invalid ELF header");
  // The loader refuses a file truncated at any length, and the process survives.
  for (std::size_t size = 1; size < whole.size(); size += whole.size() / 50) {
    folder.write(library.c_str(), std::string_view(whole).substr(0, size));
    expectRefused(folder, size > 64 ? "its end is missing" : "too short");
  }
  folder.write(library.c_str(), std::string_view(whole).substr(0, whole.size() - 1));
  expectRefused(folder, "its end is missing");
}

TEST(Parts, OfAnotherVersionAreRefused) {
  TemporaryFolder folder;
  folder.write(library.c_str(), readText(Filename(LUMENARA_TEST_MODULES) + "no_entries.so"));
  expectRefused(folder, "another version");
}

} // namespace
