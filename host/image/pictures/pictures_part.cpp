// Entry of the part that reads and writes rare formats.
#include "rare_files.h"
#include "rare_library.h"

namespace {

class Library final : public host::RareLibrary {
 public:
  host::RawPicture read(const char* format, host::PictureBytes file) override {
    if (!readerIsReady_) host::setUpReader();
    readerIsReady_ = true;
    return host::readRareFile(format, file);
  }
  host::FileBytes writePsd(const host::FilterJob& job) override {
    if (!writerIsReady_) host::setUpPsdWriter();
    writerIsReady_ = true;
    return host::writePsdFile(job);
  }

 private:
  bool readerIsReady_ = false, writerIsReady_ = false;
};

} // namespace

void* lumenara_part_pictures() {
  static Library library;
  return static_cast<host::RareLibrary*>(&library);
}
