// BMP, by the public description of the Windows bitmap. Written as plain pixels of 24 bits, which every
// reader of the format knows.
#include <algorithm>
#include <bit>
#include <optional>

#include "color_map.h"

namespace host {
namespace {

constexpr std::size_t fileHeader = 14, pictureHeader = 40, oldHeader = 12; // bytes
constexpr std::size_t masksAt = 54;                                        // offset

enum Packing : std::uint32_t { plain, runs8, runs4, masked, maskedAlpha = 6 };

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::little);
}

struct Header {
  std::size_t pixels, bytes; // where the pixels begin, how long the header is
  std::uint32_t bits, packing, entries;
  std::uint32_t width, height;
  bool fromTop;

  bool old() const { return bytes == oldHeader; }
  std::size_t entryBytes() const { return old() ? 3 : 4; }
  std::uint64_t rowBytes() const { return (std::uint64_t{width} * bits + 31) / 32 * 4; }
};

Header headerOf(PictureBytes file) {
  Header header{.pixels = field(file, 10, 4),
                .bytes = field(file, fileHeader, 4),
                .bits = 0,
                .packing = plain,
                .entries = 0,
                .width = 0,
                .height = 0,
                .fromTop = false};
  if (header.old()) {
    header.width = field(file, 18, 2);
    header.height = field(file, 20, 2);
    header.bits = field(file, 24, 2);
    return header;
  }
  const auto width = static_cast<std::int32_t>(field(file, 18, 4));
  const auto height = static_cast<std::int32_t>(field(file, 22, 4));
  header.width = width > 0 ? static_cast<std::uint32_t>(width) : 0;
  header.fromTop = height < 0;
  header.height = height < 0 ? 0 - static_cast<std::uint32_t>(height) : static_cast<std::uint32_t>(height);
  header.bits = field(file, 28, 2);
  header.packing = field(file, 30, 4);
  header.entries = field(file, 46, 4);
  return header;
}

/// A channel's bits within a pixel.
struct Mask {
  std::uint32_t bits = 0;
  unsigned char of(std::uint32_t pixel) const {
    if (bits == 0) return 0;
    const int shift = std::countr_zero(bits);
    const std::uint64_t most = bits >> shift;
    return static_cast<unsigned char>((((pixel & bits) >> shift) * 255ull + most / 2) / most);
  }
};

class Reader {
 public:
  explicit Reader(PictureBytes file) : file_(file), header_(headerOf(file)) {
    if (header_.bits <= 8) {
      readPalette();
    } else if (header_.packing == masked || header_.packing == maskedAlpha) {
      const bool alpha = header_.packing == maskedAlpha || header_.bytes >= pictureHeader + 16;
      for (std::size_t c = 0; c < (alpha ? 4 : 3); ++c)
        masks_[c].bits = field(file, masksAt + c * 4, 4);
    } else if (header_.bits == 16) {
      masks_ = {Mask{0x7c00}, Mask{0x03e0}, Mask{0x001f}, Mask{}};
    } else {
      masks_ = {Mask{0xff0000}, Mask{0xff00}, Mask{0xff}, Mask{header_.bits == 32 ? 0xff000000 : 0}};
    }
  }

  RawPicture read() {
    RawPicture raw;
    DecodedPicture& picture = raw.picture;
    startPicture(picture, header_.width, header_.height, 1);
    picture.hasAlpha = masks_[3].bits != 0;
    const bool packed = header_.packing == runs8 || header_.packing == runs4;
    if (packed) readRuns();
    ByteReader pixels(file_, header_.pixels);
    const auto rowBytes = static_cast<std::size_t>(header_.rowBytes());
    for (std::uint32_t y = 0; y < header_.height; ++y) {
      const std::size_t from = header_.fromTop ? y : header_.height - 1 - y;
      unsigned char* to = addRow(picture, picture.bytes);
      const PictureBytes row =
          packed ? PictureBytes() : file_.subspan(header_.pixels + from * rowBytes, rowBytes);
      for (std::size_t x = 0; x < header_.width; ++x, to += 4)
        put(packed ? indices_[from * header_.width + x] : valueAt(row, x), to);
    }
    if (picture.hasAlpha) dropEmptyAlpha(picture);
    return raw;
  }

 private:
  void readPalette() {
    const std::size_t most = std::size_t{1} << header_.bits, at = fileHeader + header_.bytes;
    std::size_t entries = header_.entries == 0 ? most : header_.entries;
    if (entries > most || header_.pixels < at) throw DamagedPicture("its palette is not one");
    entries =
        std::min(entries, (header_.pixels - at) / header_.entryBytes()); // some are shorter than they say
    ByteReader bytes(file_, at);
    palette_.emplace(bytes, entries, header_.entryBytes());
  }

  std::uint32_t valueAt(PictureBytes row, std::size_t x) const {
    if (header_.bits >= 16) return field(row, x * header_.bits / 8, header_.bits / 8);
    const std::size_t at = x * header_.bits;
    return field(row, at / 8, 1) >> (8 - header_.bits - at % 8) & ((1u << header_.bits) - 1);
  }

  void put(std::uint32_t value, unsigned char* to) const {
    to[3] = 255;
    if (palette_) {
      std::copy_n((*palette_)[value].begin(), 3, to);
      return;
    }
    for (std::size_t c = 0; c < 4; ++c)
      if (c < 3 || masks_[3].bits != 0) to[c] = masks_[c].of(value);
  }

  /// Runs and values as they are, row by row; pixels that they leave out have index 0. A row of the file
  /// has at least the two bytes of its end, so the memory is bounded by the size of the file.
  void readRuns() {
    ByteReader file(file_, header_.pixels);
    const std::size_t width = header_.width, all = width * header_.height;
    if (file.left() < header_.height) throw DamagedPicture("it ends before its pixels");
    indices_.resize(all);
    std::size_t x = 0, y = 0;
    const auto set = [&](std::uint32_t index) { // some writers fill rows up to whole words
      if (x < width && y < header_.height) indices_[y * width + x] = static_cast<unsigned char>(index);
      ++x;
    };
    const bool halves = header_.packing == runs4;
    const auto part = [halves](unsigned byte, unsigned i) {
      return !halves ? byte : i % 2 == 0 ? byte >> 4 : byte & 15;
    };
    while (y < header_.height && file.left() >= 2) {
      const unsigned count = file.byte(), value = file.byte();
      if (count != 0) {
        for (unsigned i = 0; i < count; ++i)
          set(part(value, i));
      } else if (value == 0) { // the end of a row
        x = 0;
        ++y;
      } else if (value == 1) { // the end of the picture
        return;
      } else if (value == 2) { // a move
        x += file.byte();
        y += file.byte();
      } else {
        const PictureBytes values = file.take(halves ? (value + 1) / 2 : value);
        for (unsigned i = 0; i < value; ++i)
          set(part(std::to_integer<unsigned>(values[halves ? i / 2 : i]), i));
        if (values.size() % 2 != 0) file.skip(std::min<std::size_t>(1, file.left()));
      }
    }
  }

  PictureBytes file_;
  Header header_;
  std::optional<ColorMap> palette_;
  std::array<Mask, 4> masks_;
  std::vector<unsigned char> indices_; // of packed rows, in the file's order
};

void add(FileBytes& bytes, std::size_t value, int count) {
  for (int i = 0; i < count; ++i)
    bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

} // namespace

/// Headers that exist, and plain pixels that are all there.
bool plausibleBmp(PictureBytes file) {
  if (file.size() < fileHeader + oldHeader) return false;
  const Header header = headerOf(file);
  if (header.pixels >= file.size() || header.width == 0 || header.height == 0) return false;
  if (!header.old() && (header.bytes < pictureHeader || header.bytes > 124)) return false;
  if (file.size() < fileHeader + header.bytes) return false;
  const std::uint32_t bits = header.bits;
  switch (header.packing) {
  case runs8:
    return bits == 8;
  case runs4:
    return bits == 4;
  case masked:
  case maskedAlpha:
    if (bits != 16 && bits != 32) return false;
    break;
  case plain:
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
    break;
  default:
    return false;
  }
  return header.pixels + header.rowBytes() * header.height <= file.size();
}

RawPicture readBmp(PictureBytes file) {
  return Reader(file).read();
}

FileBytes encodeBmp(const FilterJob& job) {
  const auto width = static_cast<std::size_t>(job.bitmap.GetBw());
  const auto height = static_cast<std::size_t>(job.bitmap.GetBh());
  const std::size_t row = (width * 3 + 3) / 4 * 4, start = fileHeader + pictureHeader;
  if (start + row * height > 0xffffffff)
    throw FilterError("was not saved: BMP holds at most 4 GB. Choose PNG, TIFF or OpenEXR");
  FileBytes file;
  file.reserve(start + row * height);
  file.assign({'B', 'M'});
  add(file, start + row * height, 4);
  add(file, 0, 4);
  add(file, start, 4);
  add(file, pictureHeader, 4);
  add(file, width, 4);
  add(file, height, 4); // positive: rows from the bottom
  add(file, 1, 2);
  add(file, 24, 2);
  add(file, 0, 4); // not packed
  add(file, row * height, 4);
  file.resize(start + row * height); // no resolution, no palette; then the pixels
  const FileBytes pixels = pixelBytes({job.bitmap, false, nullptr});
  for (std::size_t y = 0; y < height; ++y) {
    const unsigned char* from = pixels.data() + (height - 1 - y) * width * 3;
    unsigned char* to = file.data() + start + y * row;
    for (std::size_t x = 0; x < width; ++x, from += 3, to += 3) {
      to[0] = from[2];
      to[1] = from[1];
      to[2] = from[0];
    }
  }
  return file;
}

} // namespace host
