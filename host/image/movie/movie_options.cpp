#include "movie_options.h"

#include <algorithm>

namespace host {

MovieOptions readMovieOptions(const BaseContainer* options) {
  MovieOptions read;
  if (!options) return read;
  read.codec = options->GetLong(movieCodecKey);
  const LONG quality = options->GetLong(movieQualityKey);
  if (quality > 0) read.quality = std::min(quality, 100);
  read.bitRate = std::clamp(options->GetLong(movieBitRateKey), 0, 2000000);
  read.keyDistance = std::clamp(options->GetLong(movieKeyDistanceKey), 0, 1000);
  read.alpha = options->GetLong(movieAlphaKey) != 0;
  return read;
}

LONG movieFormatOf(const Filename& file) {
  return file.CheckSuffix("mov")   ? FILTER_MOVIE
         : file.CheckSuffix("avi") ? FILTER_AVI
         : file.CheckSuffix("mp4") ? movieFormatMp4
                                   : 0;
}

std::span<const MovieCodecName> movieCodecNames() noexcept {
  static constexpr MovieCodecName names[] = {{"h264", movieCodecH264},
                                             {"h265", movieCodecH265},
                                             {"av1", movieCodecAv1},
                                             {"prores", movieCodecProRes422},
                                             {"prores4444", movieCodecProRes4444},
                                             {"mjpeg", movieCodecMotionJpeg},
                                             {"png", movieCodecPng},
                                             {"animation", movieCodecAnimation},
                                             {"raw", movieCodecRaw},
                                             {"mpeg4", movieCodecMpeg4},
                                             {"ffv1", movieCodecFfv1}};
  return names;
}

const char* movieFormatName(LONG format) {
  return format == FILTER_AVI ? "AVI" : format == movieFormatMp4 ? "MP4" : "QuickTime";
}

} // namespace host
