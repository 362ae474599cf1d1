// OpenRaster: a zip of PNG pictures and a description of the layers (openraster.org, version 0.0.3). It
// replaces B3D, which no library writes, under that format's suffix.
#include <zip.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "picture_codec.h"

namespace host {
namespace {

constexpr LONG largestThumbnail = 256;
// 1 January 1980 in a zip's calendar: the same picture is the same bytes whenever it is saved.
constexpr zip_uint16_t firstDay = 1 << 5 | 1;

using Bytes = std::span<const unsigned char>;

Bytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

[[noreturn]] void fail(zip_error_t* error) {
  throw FilterError("could not be encoded (" + std::string(zip_error_strerror(error)) + ")");
}

// A zip file in memory. Added bytes must stay valid until `finish`.
class ZipInMemory {
 public:
  ZipInMemory() {
    zip_error_init(&error_);
    source_ = zip_source_buffer_create(nullptr, 0, 0, &error_);
    archive_ = source_ ? zip_open_from_source(source_, ZIP_TRUNCATE, &error_) : nullptr;
    if (!archive_) failHere();
    zip_source_keep(source_);
  }
  ~ZipInMemory() {
    if (archive_) zip_discard(archive_);
    zip_source_free(source_);
    zip_error_fini(&error_);
  }
  ZipInMemory(const ZipInMemory&) = delete;
  ZipInMemory& operator=(const ZipInMemory&) = delete;

  // PNG does not compress further, and readers need the first entry uncompressed: all entries are stored.
  void add(const char* name, Bytes bytes) {
    zip_source_t* entry = zip_source_buffer(archive_, bytes.data(), bytes.size(), 0);
    const zip_int64_t index = entry ? zip_file_add(archive_, name, entry, ZIP_FL_ENC_UTF_8) : -1;
    if (index < 0) {
      if (entry) zip_source_free(entry);
      fail(zip_get_error(archive_));
    }
    const auto place = static_cast<zip_uint64_t>(index);
    zip_file_set_dostime(archive_, place, 0, firstDay, 0);
    if (zip_set_file_compression(archive_, place, ZIP_CM_STORE, 0) != 0) fail(zip_get_error(archive_));
  }

  FileBytes finish() {
    if (zip_close(archive_) != 0) fail(zip_get_error(archive_));
    archive_ = nullptr;
    zip_stat_t facts;
    if (zip_source_stat(source_, &facts) != 0 || zip_source_open(source_) != 0)
      fail(zip_source_error(source_));
    FileBytes bytes(facts.size);
    const zip_int64_t count = zip_source_read(source_, bytes.data(), bytes.size());
    zip_source_close(source_);
    if (count != static_cast<zip_int64_t>(bytes.size())) fail(zip_source_error(source_));
    return bytes;
  }

 private:
  [[noreturn]] void failHere() {
    const std::string reason = zip_error_strerror(&error_);
    if (source_) zip_source_free(source_);
    zip_error_fini(&error_);
    throw FilterError("could not be encoded (" + reason + ")");
  }

  zip_error_t error_;
  zip_source_t* source_ = nullptr;
  zip_t* archive_ = nullptr;
};

std::string describeStack(LONG width, LONG height) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<image version=\"0.0.3\" w=\"" +
         std::to_string(width) + "\" h=\"" + std::to_string(height) +
         "\" xres=\"72\" yres=\"72\">\n"
         "  <stack>\n"
         "    <layer name=\"Lumenara\" src=\"data/layer0.png\" x=\"0\" y=\"0\" opacity=\"1.0\" "
         "visibility=\"visible\""
         " composite-op=\"svg:src-over\"/>\n"
         "  </stack>\n"
         "</image>\n";
}

LONG shrunk(LONG side, LONG longest) {
  if (longest <= largestThumbnail) return side;
  const double exact = static_cast<double>(side) * largestThumbnail / longest;
  return std::max(1, static_cast<LONG>(std::lround(exact)));
}

FileBytes encodeThumbnail(const FilterJob& job) {
  const LONG width = job.bitmap.GetBw(), height = job.bitmap.GetBh(), longest = std::max(width, height);
  const std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> small(
      BaseBitmap::Alloc(), [](BaseBitmap* bitmap) { BaseBitmap::Free(bitmap); });
  if (!small ||
      small->Init(shrunk(width, longest), shrunk(height, longest), job.bitmap.GetBt()) != IMAGERESULT_OK)
    throw std::bad_alloc();
  job.bitmap.ScaleIt(small.get(), 256, TRUE, FALSE);
  return encodePng({*small, job.alpha, nullptr});
}

} // namespace

FileBytes encodeOpenRaster(const FilterJob& job) {
  const FileBytes picture = encodePng(job), thumbnail = encodeThumbnail(job);
  const std::string stack = describeStack(job.bitmap.GetBw(), job.bitmap.GetBh());
  ZipInMemory zip;
  zip.add("mimetype", bytesOf("image/openraster")); // first: programs recognise the format by its place
  zip.add("stack.xml", bytesOf(stack));
  zip.add("data/layer0.png", picture);
  zip.add("mergedimage.png", picture);
  zip.add("Thumbnails/thumbnail.png", thumbnail);
  return zip.finish();
}

} // namespace host
