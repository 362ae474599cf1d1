// TIFF 6.0 and BigTIFF through libtiff.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "bitmap_data.h"
#include "picture_codec.h"
#include "tiff_memory.h"
#include "tiff_samples.h"

namespace host {
namespace {

constexpr unsigned mostSamples = 64;
constexpr std::array<int, 4> nowhere{-1, -1, -1, -1};

struct Header {
  std::uint32_t width = 0, height = 0, depth = 1;
  std::uint16_t bits = 1, format = 1, samples = 1, colors = 0, planes = 1, packing = 1;
  std::uint16_t extras = 0, firstExtra = EXTRASAMPLE_UNSPECIFIED;
  bool tiled = false;
};

Header readHeader(TIFF* tiff) {
  Header header;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &header.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &header.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_IMAGEDEPTH, &header.depth);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &header.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &header.format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &header.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &header.planes);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &header.packing);
  if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &header.colors))
    header.colors = header.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  std::uint16_t* kinds = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &header.extras, &kinds) && header.extras > 0)
    header.firstExtra = kinds[0];
  header.tiled = TIFFIsTiled(tiff) != 0;
  if (header.format == SAMPLEFORMAT_VOID) header.format = SAMPLEFORMAT_UINT;
  return header;
}

/// The places of the four channels among a pixel's samples; -1 for a missing one.
std::array<int, 4> channelsOf(const Header& header, FileColors colors) {
  const int count = header.samples;
  if (colors == FileColors::inks) return {0, 1, 2, 3};
  if (header.colors == PHOTOMETRIC_PALETTE) return {0, 0, 0, -1};
  const int own = colors == FileColors::rgb && header.colors == PHOTOMETRIC_RGB ? 3 : 1;
  const bool isAlpha = count > own && (header.firstExtra == EXTRASAMPLE_ASSOCALPHA ||
                                       header.firstExtra == EXTRASAMPLE_UNASSALPHA);
  const int alpha = isAlpha ? own : -1;
  if (own == 3) return {0, 1, 2, alpha};
  return {0, 0, 0, alpha};
}

/// Samples that the library cannot give as they are: it turns them into 8-bit colours itself.
bool needsLibrary(const Header& header) {
  switch (header.colors) {
  case PHOTOMETRIC_MINISWHITE:
  case PHOTOMETRIC_MINISBLACK:
  case PHOTOMETRIC_PALETTE:
    return false;
  case PHOTOMETRIC_RGB:
    return header.samples < 3;
  case PHOTOMETRIC_SEPARATED:
    return header.samples < 4 || header.format == SAMPLEFORMAT_IEEEFP;
  case PHOTOMETRIC_YCBCR:
    return header.packing != COMPRESSION_JPEG || header.planes != PLANARCONFIG_CONTIG || header.samples != 3;
  default:
    return true;
  }
}

FileColors colorsOf(const Header& header) {
  if (header.colors == PHOTOMETRIC_SEPARATED) return FileColors::inks;
  const bool isGrey = header.colors == PHOTOMETRIC_MINISBLACK || header.colors == PHOTOMETRIC_MINISWHITE;
  return isGrey ? FileColors::grey : FileColors::rgb;
}

[[noreturn]] void refuse(const std::string& what) {
  throw PictureError(IMAGERESULT_WRONGTYPE,
                     "holds " + what +
                         ", which is not read. Save it with 8 or 16 bits, or as 32-bit floats.");
}

void requireKind(const Header& header) {
  const bool floats = header.format == SAMPLEFORMAT_IEEEFP;
  const bool integers = header.format == SAMPLEFORMAT_UINT || header.format == SAMPLEFORMAT_INT;
  if (!floats && !integers) refuse("complex numbers");
  const bool known = floats ? header.bits == 16 || header.bits == 32 || header.bits == 64
                            : header.bits <= 16 || header.bits == 32;
  if (!known || header.bits == 0) refuse("numbers of " + std::to_string(header.bits) + " bits");
  if (header.depth > 1) refuse("a volume");
  if (header.samples == 0 || header.samples > mostSamples)
    refuse(std::to_string(header.samples) + " samples a pixel");
}

template <class Value>
constexpr Value fullValue() {
  return std::is_floating_point_v<Value> ? Value(1) : std::numeric_limits<Value>::max();
}

// One picture whose pixels become values of one type.
template <class Value>
class Reader {
 public:
  Reader(const TiffMemory& file, const Header& header, RawPicture& raw, std::vector<Value>& pixels)
      : file_(file), tiff_(file.get()), header_(header), raw_(raw), pixels_(pixels), width_(header.width),
        channels_(channelsOf(header, raw.colors)) {
    raw.picture.hasAlpha = channels_[3] >= 0 && raw.colors != FileColors::inks;
    if (header.colors == PHOTOMETRIC_PALETTE) readPalette();
    planes_ = header.planes == PLANARCONFIG_SEPARATE ? header.samples : 1;
  }

  void read() {
    for (unsigned plane = 0; plane < planes_; ++plane) {
      if (planes_ > 1 &&
          std::find(channels_.begin(), channels_.end(), static_cast<int>(plane)) == channels_.end())
        continue; // a sample that no channel uses
      header_.tiled ? readTiles(plane) : readStrips(plane);
    }
    if (header_.firstExtra == EXTRASAMPLE_ASSOCALPHA && raw_.picture.hasAlpha) separate();
  }

 private:
  void require(bool done) const {
    if (!done) throw DamagedPicture(file_.error());
  }

  std::unique_ptr<unsigned char[]> memory(std::uint64_t bytes) const {
    require(bytes > 0);
    if (!fitsMemory(bytes)) throw std::bad_alloc();
    return std::make_unique_for_overwrite<unsigned char[]>(bytes); // untouched where a short file ends
  }

  void readStrips(unsigned plane) {
    const std::uint64_t need = (width_ * perPixel() * header_.bits + 7) / 8;
    const auto bytes = static_cast<std::uint64_t>(std::max<tmsize_t>(0, TIFFScanlineSize(tiff_)));
    require(bytes >= need);
    const auto row = memory(bytes);
    for (std::uint32_t y = 0; y < header_.height; ++y) {
      require(TIFFReadScanline(tiff_, row.get(), y, static_cast<std::uint16_t>(plane)) == 1);
      makeRows(y + 1);
      place(row.get(), y, 0, width_, plane);
    }
  }

  void readTiles(unsigned plane) {
    std::uint32_t wide = 0, high = 0;
    require(TIFFGetField(tiff_, TIFFTAG_TILEWIDTH, &wide) && TIFFGetField(tiff_, TIFFTAG_TILELENGTH, &high));
    require(wide > 0 && high > 0);
    const auto stride = static_cast<std::uint64_t>(std::max<tmsize_t>(0, TIFFTileRowSize(tiff_)));
    const auto bytes = static_cast<std::uint64_t>(std::max<tmsize_t>(0, TIFFTileSize(tiff_)));
    require(stride >= (std::uint64_t{wide} * perPixel() * header_.bits + 7) / 8 && bytes / high >= stride);
    const auto tile = memory(bytes);
    for (std::uint64_t top = 0; top < header_.height; top += high)
      for (std::uint64_t left = 0; left < width_; left += wide) {
        const std::uint32_t index =
            TIFFComputeTile(tiff_, static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top), 0,
                            static_cast<std::uint16_t>(plane));
        require(TIFFReadEncodedTile(tiff_, index, tile.get(), static_cast<tmsize_t>(bytes)) >= 0);
        const auto rows = std::min<std::uint64_t>(high, header_.height - top);
        const auto count = std::min<std::uint64_t>(wide, width_ - left);
        makeRows(top + rows);
        for (std::uint64_t y = 0; y < rows; ++y)
          place(tile.get() + y * stride, top + y, left, count, plane);
      }
  }

  unsigned perPixel() const { return planes_ > 1 ? 1 : header_.samples; }

  void makeRows(std::uint64_t count) {
    while (pixels_.size() < count * width_ * 4) {
      Value* row = addRow(raw_.picture, pixels_);
      if (channels_[3] >= 0) continue;
      for (std::size_t x = 0; x < width_; ++x)
        row[x * 4 + 3] = fullValue<Value>();
    }
  }

  /// Stores a part of a row, or one sample of each of its pixels.
  void place(const unsigned char* bytes, std::size_t y, std::size_t x, std::size_t count, unsigned plane) {
    Value* to = pixels_.data() + (y * width_ + x) * 4;
    if (!palette_.empty()) return placeIndices(bytes, count, to);
    samples_.resize(count * perPixel());
    unpackSamples(bytes, {header_.bits, header_.format}, samples_);
    const std::size_t step = perPixel();
    for (std::size_t c = 0; c < 4; ++c) {
      if (channels_[c] < 0 || (planes_ > 1 && channels_[c] != static_cast<int>(plane))) continue;
      const Value* from = samples_.data() + (planes_ > 1 ? 0 : channels_[c]);
      const bool turned = c < 3 && header_.colors == PHOTOMETRIC_MINISWHITE;
      for (std::size_t i = 0; i < count; ++i)
        to[i * 4 + c] = turned ? static_cast<Value>(fullValue<Value>() - from[i * step]) : from[i * step];
    }
  }

  void readPalette() {
    if (header_.bits > 16 || header_.format != SAMPLEFORMAT_UINT) refuse("a palette of this kind");
    std::uint16_t* parts[3] = {};
    require(TIFFGetField(tiff_, TIFFTAG_COLORMAP, &parts[0], &parts[1], &parts[2]) == 1);
    const std::size_t count = std::size_t{1} << header_.bits;
    bool wide = false; // old writers store 8 bits
    for (const std::uint16_t* part : parts)
      wide = wide || std::any_of(part, part + count, [](std::uint16_t value) { return value > 255; });
    palette_.resize(count);
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t c = 0; c < 3; ++c) {
        const unsigned eight = wide ? (parts[c][i] * 255u + 32767) / 65535 : parts[c][i];
        palette_[i][c] = static_cast<Value>(eight * (fullValue<Value>() / 255));
      }
  }

  void placeIndices(const unsigned char* bytes, std::size_t count, Value* to) {
    indices_.resize(count * perPixel());
    unpackIndices(bytes, header_.bits, indices_);
    for (std::size_t i = 0; i < count; ++i, to += 4)
      std::copy_n(palette_[indices_[i * perPixel()]].data(), 3, to); // as many entries as there are numbers
  }

  /// Divides the colours by their alpha; colours where alpha is 0 do not change.
  void separate() {
    for (std::size_t i = 0; i < pixels_.size(); i += 4) {
      const Value alpha = pixels_[i + 3];
      if (!(alpha > 0) || alpha == fullValue<Value>()) continue;
      for (std::size_t c = 0; c < 3; ++c)
        pixels_[i + c] = divided(pixels_[i + c], alpha);
    }
  }
  static Value divided(Value color, Value alpha) {
    if constexpr (std::is_floating_point_v<Value>)
      return color / alpha;
    else {
      const std::uint64_t full = fullValue<Value>();
      return static_cast<Value>(std::min<std::uint64_t>(full, (color * full + alpha / 2) / alpha));
    }
  }

  const TiffMemory& file_;
  TIFF* tiff_;
  const Header& header_;
  RawPicture& raw_;
  std::vector<Value>& pixels_;
  const std::size_t width_;
  std::array<int, 4> channels_ = nowhere;
  unsigned planes_ = 1;
  std::vector<Value> samples_;
  std::vector<std::uint16_t> indices_;
  std::vector<std::array<Value, 3>> palette_;
};

/// Whole pictures as the library's own 8-bit colours, in the order of the file's rows.
void readThroughLibrary(const TiffMemory& file, RawPicture& raw) {
  char message[1024] = {};
  TIFFRGBAImage image;
  if (!TIFFRGBAImageOK(file.get(), message) || !TIFFRGBAImageBegin(&image, file.get(), 1, message))
    throw DamagedPicture(message);
  const std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage*)> end(&image, TIFFRGBAImageEnd);
  image.req_orientation = image.orientation; // rows stay as they are
  const std::size_t count = std::size_t{image.width} * image.height;
  const auto words = std::make_unique_for_overwrite<std::uint32_t[]>(count);
  if (!TIFFRGBAImageGet(&image, words.get(), image.width, image.height)) throw DamagedPicture(file.error());
  raw.picture.hasAlpha = image.alpha != 0;
  raw.picture.bytes.resize(count * 4);
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned alpha = TIFFGetA(words[i]);
    unsigned char* to = raw.picture.bytes.data() + i * 4;
    const unsigned color[] = {TIFFGetR(words[i]), TIFFGetG(words[i]), TIFFGetB(words[i])};
    for (std::size_t c = 0; c < 3; ++c) // the library multiplies by alpha
      to[c] = static_cast<unsigned char>(
          alpha == 0 || alpha == 255 ? color[c] : std::min(255u, (color[c] * 255 + alpha / 2) / alpha));
    to[3] = static_cast<unsigned char>(alpha);
  }
}

void readProfile(TIFF* tiff, RawPicture& raw) {
  std::uint32_t count = 0;
  void* bytes = nullptr;
  if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &count, &bytes) || !bytes) return;
  const auto* start = static_cast<const std::byte*>(bytes);
  raw.profile.assign(start, start + count);
}

template <class Value>
void readSamples(const TiffMemory& file, const Header& header, RawPicture& raw, std::vector<Value>& pixels) {
  startPicture(raw.picture, header.width, header.height, sizeof(Value));
  Reader<Value>(file, header, raw, pixels).read();
}

} // namespace

RawPicture readTiff(PictureBytes bytes) {
  const TiffMemory file(bytes);
  Header header = readHeader(file.get());
  RawPicture raw;
  std::uint16_t orientation = 1;
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_ORIENTATION, &orientation);
  raw.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
  requireKind(header);
  if (needsLibrary(header)) {
    startPicture(raw.picture, header.width, header.height, 1);
    readThroughLibrary(file, raw);
    return raw;
  }
  if (header.colors == PHOTOMETRIC_YCBCR) { // the JPEG library makes it red, green and blue
    TIFFSetField(file.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    header.colors = PHOTOMETRIC_RGB;
  }
  raw.colors = colorsOf(header);
  readProfile(file.get(), raw);
  if (header.format == SAMPLEFORMAT_IEEEFP)
    readSamples(file, header, raw, raw.picture.floats);
  else if (header.bits > 8 && header.colors != PHOTOMETRIC_PALETTE)
    readSamples(file, header, raw, raw.picture.words);
  else
    readSamples(file, header, raw, raw.picture.bytes);
  return raw;
}

FileBytes encodeTiff(const FilterJob& job) {
  constexpr std::uint32_t rowsAStrip = 32;
  FileBytes pixels = pixelBytes(job);
  TiffMemory file;
  TIFF* tiff = file.get();
  const std::size_t samples = job.alpha ? 4 : 3,
                    rowBytes = samples * static_cast<std::size_t>(job.bitmap.GetBw());
  const auto height = static_cast<std::uint32_t>(job.bitmap.GetBh());
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(job.bitmap.GetBw()));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(samples));
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW); // every reader of the format knows it
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsAStrip);
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, writingProgram);
  if (const std::string packet = originPacket(job); !packet.empty())
    TIFFSetField(tiff, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(packet.size()), packet.data());
  // Our alpha is straight, and colours where alpha is 0 are kept.
  const std::uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
  if (job.alpha) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
  for (std::uint32_t y = 0; y < height; ++y)
    if (TIFFWriteScanline(tiff, pixels.data() + y * rowBytes, y, 0) != 1)
      throw FilterError("could not be encoded (" + file.error() + ")");
  return file.finish();
}

} // namespace host
