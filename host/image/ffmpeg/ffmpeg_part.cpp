// The entry of the part that writes movies.
extern "C" {
#include <libavutil/pixdesc.h>
}

#include "movie_codec.h"
#include "movie_encoder.h"

namespace {

using host::MovieCodec;

int evenIf(bool wanted, int side) noexcept {
  return wanted ? (side + 1) / 2 * 2 : side;
}

const AVPixFmtDescriptor& planesOf(const MovieCodec& codec) noexcept {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec.plain));
}

class Library final : public host::MovieLibrary {
 public:
  const MovieCodec* findCodec(LONG format, LONG id) const override {
    return host::findCodecInTable(format, id);
  }
  std::vector<host::MovieCodecInfo> codecs(LONG format) const override {
    return host::listInstalledCodecs(format);
  }
  int encodedWidth(const MovieCodec& codec, int width) const noexcept override {
    // Uncompressed rows of QuickTime take an even number of bytes; the library does not pad them.
    const bool evenRows = codec.id == host::movieCodecRaw && codec.format == FILTER_MOVIE;
    return evenIf(evenRows || planesOf(codec).log2_chroma_w > 0, width);
  }
  int encodedHeight(const MovieCodec& codec, int height) const noexcept override {
    return evenIf(planesOf(codec).log2_chroma_h > 0, height);
  }
  std::unique_ptr<host::MovieEncoder> open(const std::string& path,
                                           const host::MovieSetup& setup) const override {
    return std::make_unique<host::FileMovieEncoder>(path, setup);
  }
};

} // namespace

void* lumenara_part_ffmpeg() {
  static Library library;
  return static_cast<host::MovieLibrary*>(&library);
}
