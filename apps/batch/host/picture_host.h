// The host of commands that only work on pictures.
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

/// The sentence for a picture that could not be loaded with this result.
std::string whyUnreadable(IMAGERESULT result, const std::string& file);

/// Loads a picture. Throws `Stop` (unreadable) with the reason.
void loadPicture(BaseBitmap& bitmap, const std::string& file);

} // namespace batch
