// PNG (ISO/IEC 15948) through libspng.
#include <spng.h>

#include <cstring>
#include <memory>

#include "file_bytes.h"
#include "picture_codec.h"

namespace host {
namespace {

// The usual level 6 makes renders 8 % smaller and takes more than three times as long as this one.
constexpr int packingLevel = 4;
// These two make renders as small as all five do, in four fifths of the time.
constexpr int rowFilters = SPNG_FILTER_CHOICE_SUB | SPNG_FILTER_CHOICE_AVG;

using Context = std::unique_ptr<spng_ctx, void (*)(spng_ctx*)>;

Context newContext(int flags) {
  Context context(spng_ctx_new(flags), spng_ctx_free);
  if (!context) throw std::bad_alloc();
  return context;
}

void require(int code) {
  if (code == SPNG_EMEM) throw std::bad_alloc();
  if (code) throw DamagedPicture(spng_strerror(code));
}

template <class Value>
void readRows(spng_ctx* context, int format, const spng_ihdr& header, const DecodedPicture& picture,
              std::vector<Value>& pixels) {
  const std::size_t rowBytes = std::size_t{header.width} * 4 * sizeof(Value);
  if (header.interlace_method != SPNG_INTERLACE_NONE) { // a row is whole after the last pass only
    pixels.resize(std::size_t{header.width} * 4 * header.height);
    return require(
        spng_decode_image(context, pixels.data(), rowBytes * header.height, format, SPNG_DECODE_TRNS));
  }
  require(spng_decode_image(context, nullptr, 0, format, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE));
  for (std::uint32_t y = 0; y < header.height; ++y) {
    const int code = spng_decode_row(context, addRow(picture, pixels), rowBytes);
    if (code == SPNG_EOI && y + 1 == header.height) return;
    require(code);
  }
}

void readProfile(spng_ctx* context, RawPicture& raw) {
  spng_iccp profile;
  std::uint8_t intent = 0;
  if (spng_get_srgb(context, &intent) == 0 || spng_get_iccp(context, &profile) != 0) return;
  const auto* bytes = reinterpret_cast<const std::byte*>(profile.profile);
  raw.profile.assign(bytes, bytes + profile.profile_len);
}

void readOrientation(spng_ctx* context, RawPicture& raw) {
  spng_decode_chunks(context); // it may stand behind the pixels
  spng_exif exif;
  if (spng_get_exif(context, &exif) == 0)
    raw.orientation = exifOrientation(std::as_bytes(std::span(exif.data, exif.length)));
}

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::big);
}

/// Every chunk is there up to the last one.
bool plausibleChunks(PictureBytes file) {
  for (std::size_t at = 8; file.size() - at >= 12;) {
    const std::uint64_t length = field(file, at, 4);
    if (length > file.size() - at - 12) return false;
    if (textOf(file.subspan(at + 4, 4)) == "IEND") return true;
    at += static_cast<std::size_t>(length) + 12;
  }
  return false;
}

} // namespace

/// Deflate packs at most 1032 bytes into one.
bool plausiblePng(PictureBytes file) {
  if (file.size() < 33 || textOf(file.subspan(12, 4)) != "IHDR") return false;
  const std::uint64_t width = field(file, 16, 4), height = field(file, 20, 4), bits = field(file, 24, 1);
  if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff) return false;
  return width * height / 8 * bits <= file.size() * std::uint64_t{1040} && plausibleChunks(file);
}

RawPicture readPng(PictureBytes file) {
  const Context context = newContext(0);
  require(spng_set_png_buffer(context.get(), file.data(), file.size()));
  require(spng_set_crc_action(context.get(), SPNG_CRC_ERROR, SPNG_CRC_DISCARD));
  require(spng_set_chunk_limits(context.get(), std::size_t{1} << 26, std::size_t{1} << 27));
  spng_ihdr header;
  require(spng_get_ihdr(context.get(), &header));
  RawPicture raw;
  const bool deep = header.bit_depth == 16;
  startPicture(raw.picture, header.width, header.height, deep ? 2 : 1);
  spng_trns transparent;
  raw.picture.hasAlpha = (header.color_type & 4) != 0 || spng_get_trns(context.get(), &transparent) == 0;
  raw.colors = (header.color_type & 2) != 0 ? FileColors::rgb : FileColors::grey;
  readProfile(context.get(), raw);
  if (deep)
    readRows(context.get(), SPNG_FMT_RGBA16, header, raw.picture, raw.picture.words);
  else
    readRows(context.get(), SPNG_FMT_RGBA8, header, raw.picture, raw.picture.bytes);
  readOrientation(context.get(), raw);
  return raw;
}

namespace {

void requireWritten(int code) {
  if (code == SPNG_EMEM) throw std::bad_alloc();
  if (code) throw FilterError("could not be encoded (" + std::string(spng_strerror(code)) + ")");
}

PictureOrigin textsOf(const FilterJob& job) {
  PictureOrigin texts{{"Software", writingProgram}};
  for (auto& [key, text] : originOf(job))
    texts.emplace_back(key, std::move(text));
  return texts;
}

// UTF-8 texts; the context keeps pointers to them until the picture is encoded.
void addTexts(spng_ctx* context, PictureOrigin& texts) {
  static char empty[] = "";
  std::vector<spng_text> chunks(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    spng_text& chunk = chunks[i];
    chunk.type = i == 0 ? SPNG_TEXT : SPNG_ITXT;
    chunk.language_tag = chunk.translated_keyword = empty;
    texts[i].first.copy(chunk.keyword, sizeof chunk.keyword - 1);
    chunk.text = texts[i].second.data();
    chunk.length = texts[i].second.size();
  }
  requireWritten(spng_set_text(context, chunks.data(), static_cast<std::uint32_t>(chunks.size())));
}

void describe(spng_ctx* context, const FilterJob& job) {
  spng_ihdr header{};
  header.width = static_cast<std::uint32_t>(job.bitmap.GetBw());
  header.height = static_cast<std::uint32_t>(job.bitmap.GetBh());
  header.bit_depth = job.deep ? 16 : 8;
  header.color_type = job.alpha ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
  requireWritten(spng_set_ihdr(context, &header));
  requireWritten(spng_set_srgb(context, 0));
}

} // namespace

FileBytes encodePng(const FilterJob& job) {
  const FileBytes pixels = job.deep ? FileBytes() : pixelBytes(job);
  const std::vector<std::uint16_t> words = job.deep ? pixelWords(job) : std::vector<std::uint16_t>();
  const std::span<const std::byte> data =
      job.deep ? std::as_bytes(std::span(words)) : std::as_bytes(std::span(pixels));
  PictureOrigin texts = textsOf(job);
  const Context context = newContext(SPNG_CTX_ENCODER);
  requireWritten(spng_set_option(context.get(), SPNG_ENCODE_TO_BUFFER, 1));
  requireWritten(spng_set_option(context.get(), SPNG_IMG_COMPRESSION_LEVEL, packingLevel));
  requireWritten(spng_set_option(context.get(), SPNG_FILTER_CHOICE, rowFilters));
  describe(context.get(), job);
  addTexts(context.get(), texts);
  requireWritten(
      spng_encode_image(context.get(), data.data(), data.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE));
  int code = 0;
  std::size_t size = 0;
  const std::unique_ptr<void, void (*)(void*)> file(spng_get_png_buffer(context.get(), &size, &code),
                                                    std::free);
  requireWritten(code);
  if (!file) throw std::bad_alloc();
  const auto* bytes = static_cast<const unsigned char*>(file.get());
  return FileBytes(bytes, bytes + size);
}

} // namespace host
