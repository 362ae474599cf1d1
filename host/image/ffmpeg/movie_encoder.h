// Encodes frames into a movie file.
#pragma once

#include "movie_library.h"

struct AVFrame;

namespace host {

class FileMovieEncoder final : public MovieEncoder {
 public:
  /// As `MovieLibrary::open`.
  FileMovieEncoder(const std::string& path, const MovieSetup& setup);
  ~FileMovieEncoder() override;

  void add(const MovieFrame& frame) override;
  void finish() override;

 private:
  struct Parts;
  void openCodec(const MovieSetup& setup);
  void openFile(const std::string& path, const MovieSetup& setup);
  void newPicture();
  void send(const AVFrame* picture);

  std::unique_ptr<Parts> parts_;
};

} // namespace host
