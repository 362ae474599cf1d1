#include "movie_library.h"

#include "part.h"

namespace host {

const MovieLibrary& movieLibrary() {
  static Part part = LUMENARA_PART(ffmpeg);
  return part.as<const MovieLibrary>();
}

std::vector<MovieCodecInfo> movieCodecs(LONG format) {
  return movieLibrary().codecs(format);
}

} // namespace host
