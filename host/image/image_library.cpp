#include "image_library.h"

#include <OpenImageIO/imageio.h>

namespace host {
namespace {

#ifdef LUMENARA_SEES_THREADS
std::mutex& turns() {
  static std::mutex mutex;
  return mutex;
}
#endif

void setUp() {
  static const bool done = [] {
    // One picture is worked on by the thread that asks: the library's own pools would outlive the call, and
    // their hand-overs are invisible to the thread sanitizer.
    OIIO::attribute("threads", 1);
    OIIO::attribute("exr_threads", -1);
    OIIO::attribute("use_tbb", 0);
    OIIO::attribute("try_all_readers", 0);
    OIIO::attribute("limits:channels", 64);
    return true;
  }();
  static_cast<void>(done);
}

} // namespace

#ifdef LUMENARA_SEES_THREADS
ImageLibraryUse::ImageLibraryUse() : lock_(turns()) {
  setUp();
}
#else
ImageLibraryUse::ImageLibraryUse() {
  setUp();
}
#endif

} // namespace host
