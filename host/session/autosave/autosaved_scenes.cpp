#include "autosaved_scenes.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "atomic_file.h"
#include "container_json.h"
#include "file_path.h"
#include "platform.h"
#include "read_file.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostBytes = 1 << 20; // of a description
constexpr LONG longestChange = 400;        // characters

// Numbers of the description's entries; they never change their meaning.
enum Id : LONG { idData = 1, idOriginal, idSeconds, idChanges };

Filename descriptionIn(const Filename& folder) {
  return folder + Filename("scene.json");
}

std::optional<AutosavedScene> readDescription(const Filename& folder) {
  BaseContainer values;
  const FileContent content = readFile(descriptionIn(folder), mostBytes);
  if (content.fault != ReadFault::none || !containerFromJson(content.text(), values)) return std::nullopt;
  AutosavedScene scene;
  scene.folder = folder;
  // A name alone: a description never leads out of its folder.
  const Filename name(values.GetString(idData));
  scene.data = folder + name.GetFile();
  std::error_code error;
  if (!name.Content() || !fs::is_regular_file(toPath(scene.data), error)) return std::nullopt;
  scene.original = Filename(values.GetString(idOriginal));
  scene.seconds = values.GetLLong(idSeconds);
  const BaseContainer changes = values.GetContainer(idChanges);
  for (LONG i = 0; i < changes.GetCount() && scene.changes.size() < AutosavedScene::mostChanges; ++i)
    scene.changes.push_back(changes.GetString(changes.GetIndexId(i)).Left(longestChange).GetUTF8());
  return scene;
}

bool inUse(const Filename& folder) {
  return !platform::FileLock(autosaveLock(folder), 0).held();
}

} // namespace

Filename autosaveLock(const Filename& folder) {
  return folder + Filename("lock");
}

bool describeScene(const AutosavedScene& scene, std::string& error) {
  BaseContainer values, changes;
  values.SetString(idData, scene.data.GetFileString());
  values.SetString(idOriginal, scene.original.GetString());
  values.SetLLong(idSeconds, scene.seconds);
  for (std::size_t i = 0; i < std::min(scene.changes.size(), AutosavedScene::mostChanges); ++i)
    changes.SetString(static_cast<LONG>(i), String(std::string_view(scene.changes[i])).Left(longestChange));
  values.SetContainer(idChanges, changes);
  if (!replaceFile(descriptionIn(scene.folder), containerToJson(values, 1), &error)) return false;
  std::error_code problem;
  for (fs::directory_iterator file(toPath(scene.folder), problem);
       !problem && file != fs::directory_iterator(); file.increment(problem))
    if (file->path().extension() == ".glb" && file->path() != toPath(scene.data))
      fs::remove(file->path(), problem);
  return true;
}

std::vector<AutosavedScene> abandonedScenes(const Filename& root) {
  std::vector<AutosavedScene> scenes;
  std::vector<Filename> empty;
  std::error_code problem;
  for (fs::directory_iterator entry(toPath(root), problem); !problem && entry != fs::directory_iterator();
       entry.increment(problem)) {
    std::error_code ignored;
    if (entry->is_symlink(ignored) || !entry->is_directory(ignored)) continue;
    const Filename folder = toFilename(entry->path());
    if (inUse(folder)) continue;
    if (std::optional<AutosavedScene> scene = readDescription(folder))
      scenes.push_back(std::move(*scene));
    else
      empty.push_back(folder);
  }
  std::sort(scenes.begin(), scenes.end(), [](const auto& a, const auto& b) { return a.seconds > b.seconds; });
  for (; scenes.size() > mostAbandoned; scenes.pop_back())
    empty.push_back(scenes.back().folder);
  for (const Filename& folder : empty)
    removeAutosaved(folder);
  return scenes;
}

void removeAutosaved(const Filename& folder) {
  std::error_code ignored;
  fs::remove_all(toPath(folder), ignored);
}

} // namespace host
