// Movies as the host sees them. The encoders behind them are a part of the host (part.h) that is loaded when
// the first movie is opened or its choices are listed. Private to host/image.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "movie_frame.h"
#include "movie_options.h"

extern "C" void* lumenara_part_ffmpeg();

namespace host {

/// Where the part is missing. It may be a package of its own.
inline constexpr const char* moviePartAdvice = "Install the package lumenara-movie, or the program again.";

/// A movie that could not be started or continued; the text is a clause that follows the file's name.
struct MovieError : std::runtime_error {
  MovieError(IMAGERESULT code, const std::string& clause) : std::runtime_error(clause), result(code) {}
  IMAGERESULT result;
};

/// The encoding of colours. The bitmap is sRGB; H.264, H.265, AV1 and ProRes carry its codes with Rec. 709's
/// matrix in the video range and are tagged Rec. 709, as players expect of a movie.
enum class MovieColor {
  video709, // tagged
  jpeg,     // Rec. 601's matrix, full range: what a JPEG means (ITU-T T.871)
  assumed,  // tagged, but few players look: the matrix that they assume, Rec. 709 from 1280 x 577 on, else
            // Rec. 601
  rgb       // the codes as they are, tagged sRGB
};

struct MovieCodec {
  LONG id;
  const char* name;
  const char* encoder;  // the library's name of it
  LONG format;          // FILTER_MOVIE, FILTER_AVI or movieFormatMp4
  int plain, withAlpha; // the library's pixel formats, noPixelFormat: no alpha
  MovieColor color;
  bool quality, bitRate, keyDistance;
  int largestSide;   // pixels
  bool bottomUp;     // rows from the bottom
  const char* tag;   // the codec's four letters in the file, null for the library's choice
  const char* muxer; // options of the container, null for none

  static constexpr int noPixelFormat = -1;
  bool hasAlpha() const noexcept { return withAlpha != noPixelFormat; }
};

struct MovieSetup {
  const MovieCodec& codec;
  const MovieOptions& options;
  int width, height; // as encoded
  LONG fps;
  bool alpha;
};

/// One movie, from its header to its trailer. The first failure throws MovieError; after it nothing else may
/// be called. One thread at a time; the codec has threads of its own inside.
class MovieEncoder {
 public:
  MovieEncoder() = default;
  virtual ~MovieEncoder() = default;
  MovieEncoder(const MovieEncoder&) = delete;
  MovieEncoder& operator=(const MovieEncoder&) = delete;

  virtual void add(const MovieFrame& frame) = 0;
  /// Encodes the remaining frames, writes the trailer and closes the file.
  virtual void finish() = 0;
};

/// The part's interface. Any thread.
class MovieLibrary {
 public:
  /// The codec of a number in a format, the default for 0 (the first that is installed); null when the format
  /// has no such codec.
  virtual const MovieCodec* findCodec(LONG format, LONG id) const = 0;
  /// The codecs that the installed libraries can write into this format, the default first.
  virtual std::vector<MovieCodecInfo> codecs(LONG format) const = 0;
  /// The size that is encoded: made even where the codec halves the colours' resolution or rows want it. The
  /// added column or row repeats the picture's last one.
  virtual int encodedWidth(const MovieCodec& codec, int width) const noexcept = 0;
  virtual int encodedHeight(const MovieCodec& codec, int height) const noexcept = 0;
  /// Opens the encoder and writes the header into the file at `path`, which is overwritten. Throws
  /// MovieError.
  virtual std::unique_ptr<MovieEncoder> open(const std::string& path, const MovieSetup& setup) const = 0;

 protected:
  ~MovieLibrary() = default;
};

/// Loads the part at the first call. Throws PartError.
const MovieLibrary& movieLibrary();

} // namespace host
