// The image library's process-wide settings. Private to host/image.
#pragma once

#include <mutex>

#if defined(__SANITIZE_THREAD__)
#define LUMENARA_SEES_THREADS
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define LUMENARA_SEES_THREADS
#endif
#endif

namespace host {

/// Held while the image library is used; the first one sets the library up. Pictures are worked on in
/// parallel: the library guards its tables itself. The thread sanitizer does not see the locks inside the
/// packaged library, so in its builds the users take turns. Not recursive.
class ImageLibraryUse {
 public:
  ImageLibraryUse();

 private:
#ifdef LUMENARA_SEES_THREADS
  std::lock_guard<std::mutex> lock_;
#endif
};

} // namespace host
