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

} // namespace host
