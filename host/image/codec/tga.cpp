// TGA, by the Truevision TGA file format, version 2.0.
#include <algorithm>
#include <optional>

#include "color_map.h"

namespace host {
namespace {

constexpr std::size_t headerBytes = 18;

struct Header {
  std::uint32_t nameBytes, palette, kind, first, entries, entryBits, width, height, bits, flags;

  bool packed() const { return kind >= 9 && kind <= 11; }
  /// 1 palette, 2 colours, 3 grey.
  std::uint32_t plainKind() const { return packed() ? kind - 8 : kind; }
  std::size_t entryBytes() const { return (entryBits + 7) / 8; }
  std::size_t pixelBytes() const { return (bits + 7) / 8; }
  std::uint32_t alphaBits() const { return flags & 15; }
  bool fromRight() const { return (flags & 0x10) != 0; }
  bool fromTop() const { return (flags & 0x20) != 0; }
};

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::little);
}

Header headerOf(PictureBytes file) {
  return {field(file, 0, 1), field(file, 1, 1),  field(file, 2, 1),  field(file, 3, 2),  field(file, 5, 2),
          field(file, 7, 1), field(file, 12, 2), field(file, 14, 2), field(file, 16, 1), field(file, 17, 1)};
}

bool knownPalette(const Header& header) {
  const std::uint32_t bits = header.entryBits;
  return header.palette == 0 ||
         (header.palette == 1 && (bits == 15 || bits == 16 || bits == 24 || bits == 32));
}

bool knownPixels(const Header& header) {
  const std::uint32_t bits = header.bits;
  switch (header.plainKind()) {
  case 1:
    return header.palette == 1 && bits == 8 && header.entries > 0;
  case 2:
    return bits == 15 || bits == 16 || bits == 24 || bits == 32;
  case 3:
    return bits == 8 || bits == 16;
  default:
    return false;
  }
}

/// The pixels in the order of the file; packets may go on in the next row.
class Pixels {
 public:
  Pixels(ByteReader file, const Header& header) : file_(file), header_(header) {}

  std::uint32_t next() {
    const std::size_t bytes = header_.pixelBytes();
    if (!header_.packed()) return field(file_.take(bytes), 0, bytes);
    if (left_ == 0) {
      const unsigned head = file_.byte();
      left_ = (head & 127) + 1;
      run_ = (head & 128) != 0;
      if (run_) value_ = field(file_.take(bytes), 0, bytes);
    }
    --left_;
    return run_ ? value_ : field(file_.take(bytes), 0, bytes);
  }

 private:
  ByteReader file_;
  const Header& header_;
  unsigned left_ = 0;
  bool run_ = false;
  std::uint32_t value_ = 0;
};

void put(const Header& header, const ColorMap* palette, std::uint32_t value, unsigned char* to) {
  const auto low = [value](int shift) { return static_cast<unsigned char>(value >> shift); };
  to[3] = 255;
  if (palette) {
    std::copy_n((*palette)[value].begin(), 3, to);
  } else if (header.plainKind() == 3) {
    to[0] = to[1] = to[2] = low(0);
    if (header.bits == 16 && header.alphaBits() != 0) to[3] = low(8);
  } else if (header.bits <= 16) {
    std::copy_n(rgbOf15(value).begin(), 3, to);
  } else {
    to[0] = low(16);
    to[1] = low(8);
    to[2] = low(0);
    if (header.bits == 32) to[3] = low(24);
  }
}

/// Turns the rows and columns into those of a picture from the top left.
void turn(const Header& header, DecodedPicture& picture) {
  const auto width = static_cast<std::size_t>(picture.width) * 4;
  const auto at = [&](std::size_t y) {
    return picture.bytes.begin() + static_cast<std::ptrdiff_t>(y * width);
  };
  for (std::size_t y = 0; header.fromRight() && y < header.height; ++y)
    for (std::size_t left = 0, right = width - 4; left < right; left += 4, right -= 4)
      std::swap_ranges(at(y) + static_cast<std::ptrdiff_t>(left),
                       at(y) + static_cast<std::ptrdiff_t>(left + 4),
                       at(y) + static_cast<std::ptrdiff_t>(right));
  if (header.fromTop()) return;
  for (std::size_t top = 0, bottom = header.height - 1; top < bottom; ++top, --bottom)
    std::swap_ranges(at(top), at(top + 1), at(bottom));
}

} // namespace

/// Kinds, depths and palettes that exist, and plain pixels that are all there.
bool plausibleTga(PictureBytes file) {
  if (file.size() < headerBytes) return false;
  const Header header = headerOf(file);
  if (header.width == 0 || header.height == 0 || !knownPalette(header) || !knownPixels(header)) return false;
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height, bytes = header.pixelBytes();
  const std::uint64_t start = headerBytes + header.nameBytes + header.entries * header.entryBytes();
  // A packet of runs holds at most 128 pixels.
  const std::uint64_t least = header.packed() ? (pixels + 127) / 128 * (1 + bytes) : pixels * bytes;
  return start + least <= file.size();
}

RawPicture readTga(PictureBytes bytes) {
  const Header header = headerOf(bytes);
  ByteReader file(bytes, headerBytes + header.nameBytes);
  std::optional<ColorMap> palette;
  if (header.plainKind() == 1)
    palette.emplace(file, header.entries, header.entryBytes(), header.first);
  else
    file.skip(header.entries * header.entryBytes());
  RawPicture raw;
  startPicture(raw.picture, header.width, header.height, 1);
  if (header.plainKind() == 3) raw.colors = FileColors::grey;
  raw.picture.hasAlpha =
      !palette &&
      (header.bits == 32 || (header.plainKind() == 3 && header.bits == 16 && header.alphaBits() != 0));
  Pixels pixels(file, header);
  for (std::uint32_t y = 0; y < header.height; ++y) {
    unsigned char* to = addRow(raw.picture, raw.picture.bytes);
    for (std::uint32_t x = 0; x < header.width; ++x, to += 4)
      put(header, palette ? &*palette : nullptr, pixels.next(), to);
  }
  turn(header, raw.picture);
  if (raw.picture.hasAlpha) dropEmptyAlpha(raw.picture);
  return raw;
}

} // namespace host
