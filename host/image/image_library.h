// The image library's process-wide settings. Private to host/image.
#pragma once

#include <mutex>

namespace host {

/// Held while a reader or writer of the library is made and opened and its description filled in; the first
/// one sets the library up. Pixels are read and written without it. The library guards the tables that it
/// fills then, but with locks of its own that the thread sanitizer does not see. Not recursive.
class ImageLibraryLock {
 public:
  ImageLibraryLock();

 private:
  std::lock_guard<std::mutex> lock_;
};

} // namespace host
