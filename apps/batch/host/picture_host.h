// What the commands on pictures share.
#pragma once

#include <string>

#include "c4d_bitmap.h"
#include "messages.h"
#include "program.h"

namespace batch {

/// A host without plug-ins: it has folders, stored settings and pictures. Main thread.
class PictureHost {
 public:
  /// `home` empty: the user's folder.
  PictureHost(const std::string& home, bool quiet);
  Messages& messages() { return messages_; }

 private:
  Messages messages_;
  BatchInterface ui_;
  host::Program program_;
};

/// Throws `Stop` (unreadable), which says why the picture cannot be had.
void loadPicture(BaseBitmap& bitmap, const std::string& file);

} // namespace batch
