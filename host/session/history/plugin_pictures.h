// The pictures in the history folder of the plug-in's viewer. The folder belongs to the plug-in: it is only
// read. What the user adds to a picture (a star, a note, a name) is an entry of `RenderHistory` with a copy
// of the picture; without a star it goes when the picture goes. Main thread.
#pragma once

#include <vector>

#include "render_history.h"

namespace host {

class PluginPictures {
 public:
  struct Picture {
    SourceFile source; // its file's name is the picture's
    Filename file;
    ThumbnailPtr thumbnail;             // null when it cannot be read
    std::vector<unsigned char> samples; // to know its render by
    int width = 0, height = 0;
  };

  /// Looks into the folder in the background, now and with every `refresh`.
  PluginPictures(RenderHistory& history, const Filename& folder);
  ~PluginPictures();
  PluginPictures(const PluginPictures&) = delete;
  PluginPictures& operator=(const PluginPictures&) = delete;

  /// Looks again; calls during a look become one more. `changed` follows when something is different.
  void refresh();
  /// Oldest first, without those that the history has an entry of.
  std::vector<Picture> pictures() const;
  /// The kept render that the picture shows, with its scene; 0 without one. It is told by the pixels, so
  /// nothing stays behind when the picture goes.
  RenderHistory::Id renderOf(const Picture& picture) const;
  /// Of the plug-in's history, in its folder for data.
  static Filename usualFolder();
  void finish();

  Listeners<> changed;

 private:
  void looked(std::vector<Picture> found);

  RenderHistory& history_;
  const Filename folder_;
  std::vector<Picture> pictures_;
  bool again_ = false;
  JobQueue jobs_{"pictures"};
};

} // namespace host
