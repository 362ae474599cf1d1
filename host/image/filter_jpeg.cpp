#include <algorithm>

#include "filter_encode.h"

namespace host {

FileBytes encodeJpeg(const FilterJob& job) {
  const LONG wanted = job.options ? job.options->GetLong(JPGSAVER_QUALITY, 90) : 90;
  const int quality = std::clamp<int>(wanted, 1, 100);
  return encodeDisplay("jpeg", {job.bitmap, false, job.options}, [quality](OIIO::ImageSpec& spec) {
    spec.attribute("Compression", "jpeg:" + std::to_string(quality));
    // Whoever asks for a good picture does not want its colours at half the resolution.
    spec.attribute("jpeg:subsampling", quality >= 90 ? "4:4:4" : "4:2:0");
  });
}

} // namespace host
