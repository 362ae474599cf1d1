// Encodes frames into a movie file. Private to host/image.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "movie_frame.h"

struct AVCodecContext;
struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace host {

/// A movie that could not be begun or continued; the text is a clause that follows the file's name.
struct MovieError : std::runtime_error {
  MovieError(IMAGERESULT code, const std::string& clause) : std::runtime_error(clause), result(code) {}
  IMAGERESULT result;
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
  /// Opens the encoder and writes the header into the file at `path`, which is overwritten.
  MovieEncoder(const std::string& path, const MovieSetup& setup);
  ~MovieEncoder();
  MovieEncoder(const MovieEncoder&) = delete;
  MovieEncoder& operator=(const MovieEncoder&) = delete;

  void add(const MovieFrame& frame);
  /// Encodes what is left, writes the trailer and closes the file.
  void finish();

 private:
  struct Parts;
  void openCodec(const MovieSetup& setup);
  void openFile(const std::string& path, const MovieSetup& setup);
  void newPicture();
  void send(const AVFrame* picture);

  std::unique_ptr<Parts> parts_;
};

} // namespace host
