// JPEG (ISO/IEC 10918) through libjpeg-turbo.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

// After <cstdio>, which they need.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>

#include "bitmap_data.h"
#include "file_bytes.h"
#include "picture_codec.h"

namespace host {
namespace {

// A progressive file may repeat its scans at little cost to itself; real files have about ten.
constexpr int mostScans = 64;
constexpr int profileMarker = JPEG_APP0 + 2, exifMarker = JPEG_APP0 + 1;
constexpr std::string_view exifStart("Exif\0\0", 6);

/// The library's errors, which leave its functions by a jump.
struct Errors : jpeg_error_mgr {
  std::jmp_buf jump;
  int code = 0;
  char text[JMSG_LENGTH_MAX] = {};
};

[[noreturn]] void leave(j_common_ptr info) {
  auto* errors = static_cast<Errors*>(info->err);
  errors->code = errors->msg_code;
  errors->format_message(info, errors->text);
  std::longjmp(errors->jump, 1);
}

void setUpErrors(Errors& errors) {
  jpeg_std_error(&errors);
  errors.error_exit = leave;
  errors.output_message = [](j_common_ptr) {}; // warnings are not shown
  errors.emit_message = [](j_common_ptr info, int level) {
    if (level < 0) ++info->err->num_warnings;
  };
}

/// Calls `step`, which has nothing to destroy and only calls the library. False after an error of the
/// library: the jump ends here and crosses no other function of ours.
template <class Step>
bool succeeds(Errors& errors, Step step) {
  if (setjmp(errors.jump)) return false; // NOLINT: the library's way of reporting
  step();
  return true;
}

/// The library's state of a picture that is read; freed even when its construction stops half way.
struct Decompression : jpeg_decompress_struct {
  Decompression() : jpeg_decompress_struct{} {}
  ~Decompression() { jpeg_destroy_decompress(this); }
  Decompression(const Decompression&) = delete;
  Decompression& operator=(const Decompression&) = delete;
};

class JpegReader {
 public:
  explicit JpegReader(PictureBytes file) {
    setUpErrors(errors_);
    info_.err = &errors_;
    progress_.progress_monitor = [](j_common_ptr info) {
      if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > mostScans) {
        info->err->msg_code = JERR_BAD_PROGRESSION;
        info->err->error_exit(info);
      }
    };
    const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
    require(succeeds(errors_, [&] {
      jpeg_create_decompress(&info_);
      info_.progress = &progress_;
      jpeg_save_markers(&info_, profileMarker, 0xffff);
      jpeg_save_markers(&info_, exifMarker, 0xffff);
      jpeg_mem_src(&info_, bytes, static_cast<unsigned long>(file.size()));
      jpeg_read_header(&info_, TRUE);
    }));
    refuseSmall(file.size());
  }

  RawPicture read() {
    RawPicture raw;
    readProfile(raw);
    readOrientation(raw);
    startPicture(raw.picture, info_.image_width, info_.image_height, 1);
    refuseHuge();
    chooseColors(raw);
    require(succeeds(errors_, [&] { jpeg_start_decompress(&info_); }));
    std::vector<unsigned char> grey(raw.colors == FileColors::grey ? info_.output_width : 0);
    while (info_.output_scanline < info_.output_height) {
      unsigned char* row = addRow(raw.picture, raw.picture.bytes);
      unsigned char* target = grey.empty() ? row : grey.data();
      require(succeeds(errors_, [&] { jpeg_read_scanlines(&info_, &target, 1); }));
      for (std::size_t x = 0; x < grey.size(); ++x, row += 4) {
        std::fill(row, row + 3, grey[x]);
        row[3] = 255;
      }
    }
    if (raw.colors == FileColors::inks) turnInks(raw.picture.bytes);
    return raw;
  }

 private:
  void require(bool done) {
    if (done) return;
    if (errors_.code == JERR_OUT_OF_MEMORY) throw std::bad_alloc();
    if (errors_.code == JERR_BAD_PRECISION)
      throw PictureError(IMAGERESULT_WRONGTYPE,
                         "is a JPEG with more than 8 bits a channel, which is rarely read. "
                         "Save it with 8 bits, or as PNG or TIFF.");
    throw DamagedPicture(errors_.text);
  }
  /// Even an empty block of 64 pixels takes a bit; arithmetic coding can do with less.
  void refuseSmall(std::size_t fileBytes) {
    const std::uint64_t pixels = std::uint64_t{info_.image_width} * info_.image_height;
    if (!info_.arith_code && pixels / 4096 > fileBytes) throw DamagedPicture("it is too short for its size");
  }

  /// Scans that refine the whole picture keep two bytes for each value.
  void refuseHuge() {
    const std::uint64_t values = std::uint64_t{info_.image_width} * info_.image_height *
                                 static_cast<std::uint64_t>(std::max(1, info_.num_components));
    if (!fitsMemory(values * 3)) throw std::bad_alloc();
  }

  void chooseColors(RawPicture& raw) {
    switch (info_.jpeg_color_space) {
    case JCS_GRAYSCALE:
      raw.colors = FileColors::grey;
      info_.out_color_space = JCS_GRAYSCALE;
      break;
    case JCS_CMYK:
    case JCS_YCCK:
      raw.colors = FileColors::inks;
      info_.out_color_space = JCS_CMYK;
      break;
    default:
      info_.out_color_space = JCS_EXT_RGBA;
    }
    if (info_.jpeg_color_space == JCS_UNKNOWN) throw DamagedPicture("its channels have no known colours");
  }

  void readProfile(RawPicture& raw) {
    JOCTET* bytes = nullptr;
    unsigned length = 0;
    const bool done = succeeds(errors_, [&] {
      if (!jpeg_read_icc_profile(&info_, &bytes, &length)) bytes = nullptr;
    });
    const std::unique_ptr<JOCTET, void (*)(void*)> owner(done ? bytes : nullptr, std::free);
    if (!owner) return;
    const auto* start = reinterpret_cast<const std::byte*>(owner.get());
    raw.profile.assign(start, start + length);
  }

  void readOrientation(RawPicture& raw) {
    for (const jpeg_marker_struct* marker = info_.marker_list; marker; marker = marker->next) {
      const std::span data(marker->data, marker->data_length);
      if (marker->marker != exifMarker || data.size() < exifStart.size()) continue;
      if (std::memcmp(data.data(), exifStart.data(), exifStart.size()) != 0) continue;
      raw.orientation = exifOrientation(std::as_bytes(data.subspan(exifStart.size())));
      return;
    }
  }

  /// Files of four inks store them inverted, as all writing programs do.
  static void turnInks(std::vector<unsigned char>& values) {
    for (unsigned char& value : values)
      value = static_cast<unsigned char>(255 - value);
  }

  Errors errors_;
  jpeg_progress_mgr progress_{};
  Decompression info_;
};

} // namespace

/// The last mark of a JPEG ends it; one without was cut off, and would be filled up with grey.
bool plausibleJpeg(PictureBytes file) {
  const std::string_view text = textOf(file);
  const std::size_t scan = text.rfind("\xff\xda"), end = text.rfind("\xff\xd9");
  return scan != std::string_view::npos && end != std::string_view::npos && end > scan;
}

RawPicture readJpeg(PictureBytes file) {
  JpegReader reader(file);
  return reader.read();
}

namespace {

/// The library's state of a picture that is written, and the memory for its bytes.
struct Compression : jpeg_compress_struct {
  Compression() : jpeg_compress_struct{} {}
  ~Compression() {
    jpeg_destroy_compress(this);
    std::free(bytes);
  }
  Compression(const Compression&) = delete;
  Compression& operator=(const Compression&) = delete;

  jpeg_destination_mgr target{};
  unsigned char* bytes = nullptr;
  std::size_t size = 0; // of the memory
};

/// Adds memory after the filled part. Called by the library, also at the start.
void growTarget(j_compress_ptr info) {
  auto& file = *static_cast<Compression*>(info);
  const std::size_t filled = file.size, wanted = std::max<std::size_t>(std::size_t{1} << 16, filled * 2);
  void* more = std::realloc(file.bytes, wanted);
  if (!more) {
    info->err->msg_code = JERR_OUT_OF_MEMORY;
    info->err->error_exit(reinterpret_cast<j_common_ptr>(info));
  }
  file.bytes = static_cast<unsigned char*>(more);
  file.size = wanted;
  file.target.next_output_byte = file.bytes + filled;
  file.target.free_in_buffer = wanted - filled;
}

// A marker holds at most 64 KB; a longer packet is left out.
std::string xmpMarker(const FilterJob& job) {
  constexpr std::size_t most = 65533;
  using namespace std::string_literals;
  const std::string packet = originPacket(job), start = "http://ns.adobe.com/xap/1.0/\0"s;
  return packet.empty() || start.size() + packet.size() > most ? std::string() : start + packet;
}

class JpegWriter {
 public:
  JpegWriter() {
    setUpErrors(errors_);
    info_.err = &errors_;
    require(succeeds(errors_, [&] { jpeg_create_compress(&info_); }));
    info_.dest = &info_.target;
    info_.target.init_destination = growTarget;
    info_.target.empty_output_buffer = [](j_compress_ptr info) -> boolean {
      growTarget(info);
      return TRUE;
    };
    info_.target.term_destination = [](j_compress_ptr) {};
  }

  FileBytes write(const FilterJob& job, int quality) {
    FileBytes pixels = pixelBytes({job.bitmap, false, job.options});
    std::vector<unsigned char> exif(exifStart.begin(), exifStart.end());
    const std::vector<unsigned char> block = exifSoftware();
    exif.insert(exif.end(), block.begin(), block.end());
    const std::string xmp = xmpMarker(job);
    describe(job, quality);
    require(succeeds(errors_, [&] {
      jpeg_start_compress(&info_, TRUE);
      jpeg_write_marker(&info_, exifMarker, exif.data(), static_cast<unsigned>(exif.size()));
      if (!xmp.empty())
        jpeg_write_marker(&info_, exifMarker, reinterpret_cast<const JOCTET*>(xmp.data()),
                          static_cast<unsigned>(xmp.size()));
    }));
    for (std::size_t row = 0; row < info_.image_height; ++row) {
      JSAMPLE* values = pixels.data() + row * info_.image_width * 3;
      require(succeeds(errors_, [&] { jpeg_write_scanlines(&info_, &values, 1); }));
    }
    require(succeeds(errors_, [&] { jpeg_finish_compress(&info_); }));
    return FileBytes(info_.bytes, info_.bytes + (info_.size - info_.target.free_in_buffer));
  }

 private:
  void require(bool done) {
    if (done) return;
    if (errors_.code == JERR_OUT_OF_MEMORY) throw std::bad_alloc();
    throw FilterError("could not be encoded (" + std::string(errors_.text) + ")");
  }

  void describe(const FilterJob& job, int quality) {
    info_.image_width = static_cast<JDIMENSION>(job.bitmap.GetBw());
    info_.image_height = static_cast<JDIMENSION>(job.bitmap.GetBh());
    info_.input_components = 3;
    info_.in_color_space = JCS_RGB;
    require(succeeds(errors_, [&] {
      jpeg_set_defaults(&info_);
      jpeg_set_quality(&info_, quality, TRUE);
    }));
    // A high quality keeps the colours at full resolution.
    const int step = quality >= 90 ? 1 : 2;
    info_.comp_info[0].h_samp_factor = info_.comp_info[0].v_samp_factor = step;
  }

  Errors errors_;
  Compression info_;
};

} // namespace

FileBytes encodeJpeg(const FilterJob& job) {
  const LONG wanted = job.options ? job.options->GetLong(JPGSAVER_QUALITY, 90) : 90;
  JpegWriter writer;
  return writer.write(job, std::clamp<int>(wanted, 1, 100));
}

} // namespace host
