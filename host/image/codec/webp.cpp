// WebP through libwebp.
#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "picture_codec.h"
#include "picture_formats.h"

namespace host {
namespace {

constexpr int losslessEffort = 4; // of 9: the next levels save 1 % and take twice as long

WebPData dataOf(PictureBytes file) {
  return {reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
}

using Demuxer = std::unique_ptr<WebPDemuxer, void (*)(WebPDemuxer*)>;

/// A chunk of the file beside its pixels; empty when it is missing.
PictureBytes chunk(const WebPDemuxer* demuxer, const char* name) {
  WebPChunkIterator part;
  if (!WebPDemuxGetChunk(demuxer, name, 1, &part)) return {};
  const PictureBytes bytes = std::as_bytes(std::span(part.chunk.bytes, part.chunk.size));
  WebPDemuxReleaseChunkIterator(&part);
  return bytes; // they lie in the file
}

void keepRows(RawPicture& raw, const std::uint8_t* rows, std::size_t stride) {
  for (int y = 0; y < raw.picture.height; ++y, rows += stride) {
    unsigned char* to = addRow(raw.picture, raw.picture.bytes);
    std::memcpy(to, rows, static_cast<std::size_t>(raw.picture.width) * 4);
  }
}

void readStill(PictureBytes file, RawPicture& raw) {
  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) throw DamagedPicture("the library has another version");
  config.output.colorspace = MODE_RGBA;
  const VP8StatusCode status =
      WebPDecode(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(), &config);
  const std::unique_ptr<WebPDecBuffer, void (*)(WebPDecBuffer*)> buffer(&config.output, WebPFreeDecBuffer);
  if (status == VP8_STATUS_OUT_OF_MEMORY) throw std::bad_alloc();
  if (status != VP8_STATUS_OK || buffer->width != raw.picture.width || buffer->height != raw.picture.height)
    throw DamagedPicture();
  keepRows(raw, buffer->u.RGBA.rgba, static_cast<std::size_t>(buffer->u.RGBA.stride));
}

/// The first frame at its place on a transparent canvas.
void readFirstFrame(PictureBytes file, RawPicture& raw) {
  const WebPData data = dataOf(file);
  WebPAnimDecoderOptions options;
  if (!WebPAnimDecoderOptionsInit(&options)) throw DamagedPicture("the library has another version");
  options.color_mode = MODE_RGBA;
  const std::unique_ptr<WebPAnimDecoder, void (*)(WebPAnimDecoder*)> decoder(
      WebPAnimDecoderNew(&data, &options), WebPAnimDecoderDelete);
  std::uint8_t* rows = nullptr;
  int time = 0;
  if (!decoder || !WebPAnimDecoderGetNext(decoder.get(), &rows, &time)) throw DamagedPicture();
  keepRows(raw, rows, static_cast<std::size_t>(raw.picture.width) * 4);
}

} // namespace

RawPicture readWebp(PictureBytes file) {
  const WebPData data = dataOf(file);
  const Demuxer demuxer(WebPDemux(&data), WebPDemuxDelete);
  if (!demuxer) throw DamagedPicture();
  const std::uint32_t flags = WebPDemuxGetI(demuxer.get(), WEBP_FF_FORMAT_FLAGS);
  RawPicture raw;
  startPicture(raw.picture, WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH),
               WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT), 1);
  raw.picture.hasAlpha = (flags & ALPHA_FLAG) != 0;
  const PictureBytes profile = chunk(demuxer.get(), "ICCP");
  raw.profile.assign(profile.begin(), profile.end());
  raw.orientation = exifOrientation(chunk(demuxer.get(), "EXIF"));
  if (flags & ANIMATION_FLAG)
    readFirstFrame(file, raw);
  else
    readStill(file, raw);
  return raw;
}

namespace {

/// The library's picture and its memory.
struct Picture : WebPPicture {
  explicit Picture(const FilterJob& job) {
    if (!WebPPictureInit(this)) throw FilterError("could not be encoded (the library has another version)");
    width = job.bitmap.GetBw();
    height = job.bitmap.GetBh();
    use_argb = 1;
    WebPMemoryWriterInit(&writer);
    custom_ptr = &writer;
    this->WebPPicture::writer = WebPMemoryWrite;
  }
  ~Picture() {
    WebPPictureFree(this);
    WebPMemoryWriterClear(&writer);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  WebPMemoryWriter writer;
};

WebPConfig configOf(const FilterJob& job) {
  WebPConfig config;
  if (!WebPConfigInit(&config)) throw FilterError("could not be encoded (the library has another version)");
  const LONG quality = job.options ? job.options->GetLong(webpSaverQuality, 0) : 0;
  if (quality > 0) {
    config.quality = static_cast<float>(std::clamp<LONG>(quality, 1, 100));
    config.alpha_quality = 100;
  } else
    WebPConfigLosslessPreset(&config, losslessEffort);
  config.exact = 1; // keeps colours where alpha is 0
  return config;
}

[[noreturn]] void fail(int code) {
  if (code == VP8_ENC_ERROR_OUT_OF_MEMORY || code == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY)
    throw std::bad_alloc();
  throw FilterError("could not be encoded (error " + std::to_string(code) + ")");
}

/// The file with the name of the writing program.
FileBytes addSoftware(const WebPMemoryWriter& picture) {
  const std::unique_ptr<WebPMux, void (*)(WebPMux*)> mux(WebPMuxNew(), WebPMuxDelete);
  if (!mux) throw std::bad_alloc();
  const WebPData pixels{picture.mem, picture.size};
  const std::vector<unsigned char> exif = exifSoftware();
  const WebPData note{exif.data(), exif.size()};
  WebPData file;
  WebPDataInit(&file);
  const bool done = WebPMuxSetImage(mux.get(), &pixels, 0) == WEBP_MUX_OK &&
                    WebPMuxSetChunk(mux.get(), "EXIF", &note, 0) == WEBP_MUX_OK &&
                    WebPMuxAssemble(mux.get(), &file) == WEBP_MUX_OK;
  const std::unique_ptr<WebPData, void (*)(WebPData*)> owner(&file, WebPDataClear);
  if (!done) throw FilterError("could not be encoded (its parts do not fit together)");
  return FileBytes(file.bytes, file.bytes + file.size);
}

} // namespace

FileBytes encodeWebp(const FilterJob& job) {
  if (job.bitmap.GetBw() > WEBP_MAX_DIMENSION || job.bitmap.GetBh() > WEBP_MAX_DIMENSION)
    throw FilterError("was not saved: WebP holds at most 16383 pixels a side");
  const FileBytes pixels = pixelBytes(job);
  Picture picture(job);
  const int stride = picture.width * (job.alpha ? 4 : 3);
  const bool imported = job.alpha ? WebPPictureImportRGBA(&picture, pixels.data(), stride)
                                  : WebPPictureImportRGB(&picture, pixels.data(), stride);
  if (!imported) throw std::bad_alloc();
  const WebPConfig config = configOf(job);
  if (!WebPEncode(&config, &picture)) fail(picture.error_code);
  return addSoftware(picture.writer);
}

} // namespace host
