#include "picture_pairs.h"

#include <filesystem>
#include <set>
#include <system_error>

#include "c4d_filename.h"
#include "picture_formats.h"

namespace batch {
namespace {

namespace fs = std::filesystem;

std::set<std::string> picturesIn(const std::string& folder) {
  std::set<std::string> names;
  std::error_code error;
  fs::directory_iterator at(folder, error);
  for (const fs::directory_iterator end; !error && at != end; at.increment(error)) {
    const std::string name = at->path().filename().string();
    std::error_code unknown;
    if (name.starts_with('.') || at->is_directory(unknown)) continue;
    if (host::isPictureSuffix(Filename(String(name)).GetSuffix().GetUTF8())) names.insert(name);
  }
  if (error)
    throw Stop(ExitCode::sceneUnreadable, "the folder " + folder + " cannot be read: " + error.message());
  return names;
}

} // namespace

PairList findPairs(const std::string& a, const std::string& b) {
  std::error_code unknown;
  const bool folderA = fs::is_directory(a, unknown), folderB = fs::is_directory(b, unknown);
  if (!folderA && !folderB) return {{{fs::path(a).filename().string(), a, b}}, {}};
  if (folderA != folderB)
    throw Stop(ExitCode::wrongUse,
               (folderA ? a : b) + " is a folder and " + (folderA ? b : a) + " is not; name two of a kind");
  const std::set<std::string> inA = picturesIn(a), inB = picturesIn(b);
  PairList list;
  std::set<std::string> all = inA;
  all.insert(inB.begin(), inB.end());
  for (const std::string& name : all) {
    if (inA.contains(name) && inB.contains(name))
      list.pairs.push_back({name, (fs::path(a) / name).string(), (fs::path(b) / name).string()});
    else
      list.problems.push_back(
          {ExitCode::noPartner, name,
           name + " has no partner in " + (inA.contains(name) ? b : a) + "; make it, or remove this one"});
  }
  if (all.empty()) throw Stop(ExitCode::noPartner, a + " and " + b + " hold no pictures; name other folders");
  return list;
}

} // namespace batch
