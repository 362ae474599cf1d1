// Scenes that were saved by themselves: each program has a folder of its own, which it locks while it runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

/// The description beside the scene's file.
struct AutosavedScene {
  Filename folder;                  // of the program that wrote it
  Filename data;                    // the scene's file, in that folder
  Filename original;                // the file that was open; empty: the scene was never saved
  std::int64_t seconds = 0;         // since 1970, UTC
  std::vector<std::string> changes; // since the original was saved, at most `mostChanges` lines

  static constexpr std::size_t mostChanges = 50;
};

/// Writes the description; then removes other scenes' files from the folder. False with a reason on failure.
/// Any thread.
bool describeScene(const AutosavedScene& scene, std::string& error);

/// The scenes of programs that have ended, newest first. Folders without a scene are removed, and so are
/// those beyond the newest `mostAbandoned`.
std::vector<AutosavedScene> abandonedScenes(const Filename& root);
inline constexpr std::size_t mostAbandoned = 20;

/// Removes a program's folder; what cannot be removed stays.
void removeAutosaved(const Filename& folder);

Filename autosaveLock(const Filename& folder);

} // namespace host
