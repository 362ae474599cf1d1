// Reads a scene that another program may be writing. Any thread.
#pragma once

#include <atomic>
#include <vector>

#include "c4d_threading.h"
#include "file_error.h"
#include "file_watch.h"
#include "scene_content.h"
#include "scene_file.h"

namespace host {

struct SceneReading {
  LoadResult result;
  std::vector<FileStamp> stamps; // of result.files as they were read
};

/// Reads the file and the files that it names until none of them was written during the reading. A file that
/// does not load and was just written may be incomplete; it is read again, too. Contents that equal one of
/// `known` become that one. `progress`: 0 to 1. Ends with `cancelled` when the thread's break test is true.
SceneReading readScene(const Filename& file, const SceneContent& known, std::atomic<double>& progress,
                       BaseThread& thread);

/// The error of a scene that did not load. `reload`: it is open, and another program has changed it.
FileError loadError(const Filename& file, const LoadResult& result, bool reload);
/// The whole path, without "." and ".."; the name itself where the system knows none.
Filename absolute(const Filename& file);

} // namespace host
