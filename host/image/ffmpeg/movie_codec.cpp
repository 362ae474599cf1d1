#include "movie_codec.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cmath>
#include <string>

namespace host {
namespace {

constexpr int none = AV_PIX_FMT_NONE;
static_assert(none == MovieCodec::noPixelFormat);

// The default of a format comes first, its substitute next.
constexpr MovieCodec codecs[] = {
    {movieCodecH264, "H.264", "libx264", FILTER_MOVIE, AV_PIX_FMT_YUV420P, none, MovieColor::video709, true,
     true, true, 16384, false, nullptr, "+faststart"},
    {movieCodecMotionJpeg, "Motion JPEG", "mjpeg", FILTER_MOVIE, AV_PIX_FMT_YUVJ422P, none, MovieColor::jpeg,
     true, true, false, 32768, false, nullptr, nullptr},
    {movieCodecProRes422, "ProRes 422", "prores_ks", FILTER_MOVIE, AV_PIX_FMT_YUV422P10, none,
     MovieColor::video709, true, false, false, 32768, false, nullptr, nullptr},
    {movieCodecProRes4444, "ProRes 4444", "prores_ks", FILTER_MOVIE, AV_PIX_FMT_YUV444P10,
     AV_PIX_FMT_YUVA444P10, MovieColor::video709, false, false, false, 32768, false, nullptr, nullptr},
    {movieCodecPng, "PNG", "png", FILTER_MOVIE, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, MovieColor::rgb, false,
     false, false, 32768, false, nullptr, nullptr},
    {movieCodecAnimation, "Animation", "qtrle", FILTER_MOVIE, AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB,
     MovieColor::rgb, false, false, true, 32768, false, nullptr, nullptr},
    {movieCodecRaw, "Uncompressed", "rawvideo", FILTER_MOVIE, AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB,
     MovieColor::rgb, false, false, false, 32768, false, nullptr, nullptr},
    {movieCodecH264, "H.264", "libx264", movieFormatMp4, AV_PIX_FMT_YUV420P, none, MovieColor::video709, true,
     true, true, 16384, false, nullptr, "+faststart"},
    // Players of one vendor know H.265 by this tag alone.
    {movieCodecH265, "H.265", "libx265", movieFormatMp4, AV_PIX_FMT_YUV420P, none, MovieColor::video709, true,
     true, true, 8192, false, "hvc1", "+faststart"},
    {movieCodecAv1, "AV1", "libaom-av1", movieFormatMp4, AV_PIX_FMT_YUV420P, none, MovieColor::video709, true,
     true, true, 16384, false, nullptr, "+faststart"},
    {movieCodecMpeg4, "MPEG-4", "mpeg4", FILTER_AVI, AV_PIX_FMT_YUV420P, none, MovieColor::assumed, true,
     true, true, 8190, false, "XVID", nullptr},
    {movieCodecMotionJpeg, "Motion JPEG", "mjpeg", FILTER_AVI, AV_PIX_FMT_YUVJ422P, none, MovieColor::jpeg,
     true, true, false, 32768, false, nullptr, nullptr},
    {movieCodecFfv1, "FFV1", "ffv1", FILTER_AVI, AV_PIX_FMT_0RGB32, AV_PIX_FMT_RGB32, MovieColor::rgb, false,
     false, false, 32768, false, nullptr, nullptr},
    {movieCodecPng, "PNG", "png", FILTER_AVI, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, MovieColor::rgb, false,
     false, false, 32768, false, nullptr, nullptr},
    // Rows go from the bottom in this format; only some players read the other order.
    {movieCodecRaw, "Uncompressed", "rawvideo", FILTER_AVI, AV_PIX_FMT_BGR24, none, MovieColor::rgb, false,
     false, false, 32768, true, nullptr, nullptr},
};

// Factor of the x264 encoder: 12.5 for quality 100, 18 (no difference to be seen) for 80, 40 for 0.
double rateFactor(LONG quality) noexcept {
  return 40 - 0.275 * static_cast<double>(quality);
}

// The encoders' own scales, at about the same look: x265 needs two steps more, and AV1 counts to 63.
double rateFactorOf(const MovieCodec& codec, LONG quality) noexcept {
  if (codec.id == movieCodecH265) return std::max(0.0, rateFactor(quality) + 2);
  if (codec.id == movieCodecAv1) return std::round(63 - 0.48 * static_cast<double>(quality));
  return rateFactor(quality);
}

// Quantizer of MPEG-4 and JPEG: 1 for quality 100, 2 for 80, 31 for 0.
double quantizer(LONG quality) noexcept {
  return std::pow(31, static_cast<double>(100 - quality) / 100);
}

const char* proResProfile(LONG quality) noexcept {
  return quality < 40 ? "proxy" : quality < 60 ? "lt" : quality < 85 ? "standard" : "hq";
}

void set(AVDictionary*& dictionary, const char* key, const std::string& value) {
  av_dict_set(&dictionary, key, value.c_str(), 0);
}

void setByQuality(const MovieCodec& codec, LONG quality, AVCodecContext& context, AVDictionary*& dictionary) {
  if (codec.id == movieCodecH264 || codec.id == movieCodecH265 || codec.id == movieCodecAv1) {
    set(dictionary, "crf", std::to_string(rateFactorOf(codec, quality)));
  } else if (codec.id == movieCodecMpeg4 || codec.id == movieCodecMotionJpeg) {
    context.flags |= AV_CODEC_FLAG_QSCALE;
    context.qmin = 1;
    context.global_quality = static_cast<int>(std::lround(FF_QP2LAMBDA * quantizer(quality)));
  }
}

} // namespace

const AVCodec* installedEncoder(const MovieCodec& codec) {
  return avcodec_find_encoder_by_name(codec.encoder);
}

const MovieCodec* findCodecInTable(LONG format, LONG id) {
  for (const MovieCodec& codec : codecs)
    if (codec.format == format && (id == codec.id || (id == movieCodecDefault && installedEncoder(codec))))
      return &codec;
  return nullptr;
}

std::vector<MovieCodecInfo> listInstalledCodecs(LONG format) {
  std::vector<MovieCodecInfo> found;
  for (const MovieCodec& codec : codecs)
    if (codec.format == format && installedEncoder(codec))
      found.push_back(
          {codec.id, codec.name, codec.quality, codec.bitRate, codec.keyDistance, codec.hasAlpha()});
  return found;
}

void setMovieQuality(const MovieCodec& codec, const MovieOptions& options, LONG fps, AVCodecContext& context,
                     AVDictionary*& dictionary) {
  if (codec.bitRate && options.bitRate > 0)
    context.bit_rate = 1000 * static_cast<std::int64_t>(options.bitRate);
  else
    setByQuality(codec, options.quality, context, dictionary);
  if (codec.keyDistance)
    context.gop_size = options.keyDistance > 0 ? options.keyDistance : std::min(fps, 250);

  switch (codec.id) {
  case movieCodecH264:
    set(dictionary, "preset", "fast");
    break;
  case movieCodecH265:
    set(dictionary, "preset", "fast");
    set(dictionary, "x265-params", "log-level=none");
    break;
  case movieCodecAv1:
    set(dictionary, "cpu-used", "8"); // the slower ones take longer than many a render
    set(dictionary, "row-mt", "1");
    break;
  case movieCodecProRes422:
    set(dictionary, "profile", proResProfile(options.quality));
    set(dictionary, "vendor", "apl0");
    break;
  case movieCodecProRes4444:
    set(dictionary, "profile", "4444");
    set(dictionary, "vendor", "apl0");
    break;
  case movieCodecPng:
    set(dictionary, "pred", "up");
    set(dictionary, "compression_level", "3");
    break;
  case movieCodecFfv1:
    context.level = 3; // with checksums, in slices that several threads encode
    context.gop_size = 1;
    break;
  case movieCodecMpeg4:
    context.max_b_frames = 0; // they would need a packing that not every player knows
    break;
  default:
    break;
  }
}

void setMovieColor(const MovieCodec& codec, AVCodecContext& context) {
  const bool rgb = codec.color == MovieColor::rgb, jpeg = codec.color == MovieColor::jpeg;
  context.color_primaries = AVCOL_PRI_BT709; // sRGB's too
  context.color_trc = rgb || jpeg ? AVCOL_TRC_IEC61966_2_1 : AVCOL_TRC_BT709;
  context.colorspace = rgb                                                   ? AVCOL_SPC_RGB
                       : usesMatrix709(codec, context.width, context.height) ? AVCOL_SPC_BT709
                                                                             : AVCOL_SPC_SMPTE170M;
  context.color_range = rgb || jpeg ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  if (!rgb) context.chroma_sample_location = jpeg ? AVCHROMA_LOC_CENTER : AVCHROMA_LOC_LEFT;
}

bool usesMatrix709(const MovieCodec& codec, int width, int height) noexcept {
  if (codec.color == MovieColor::assumed) return width >= 1280 || height > 576;
  return codec.color == MovieColor::video709;
}

} // namespace host
