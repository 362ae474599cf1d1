// PSD and its large form PSB, by Adobe's published "Photoshop File Formats": the flat picture beside the
// layers is read.
#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <type_traits>

#include "file_bytes.h"
#include "picture_codec.h"

namespace host {
namespace {

constexpr std::size_t headerBytes = 26;
constexpr std::uint32_t transparentIndex = 1047, profile = 1039; // numbers of image resources

// Numbers have the highest byte first.
std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::big);
}

std::size_t even(std::size_t count) {
  return count + count % 2;
}

enum class Mode : std::uint32_t { bits, grey, palette, rgb, inks, channels = 7, duotone = 8 };

/// Parts of the file, each with its length before it: palette, resources, layers; then the flat picture.
struct Parts {
  PictureBytes palette, resources, layers, pixels;
};

/// A part whose length has `lengthBytes` bytes; `rest` is moved behind it.
PictureBytes takePart(PictureBytes& rest, std::size_t lengthBytes) {
  if (rest.size() < lengthBytes) throw DamagedPicture("it ends within its header");
  // Parts of 4 GB and more do not fit into any file that is read.
  const bool huge = lengthBytes == 8 && field(rest, 0, 4) != 0;
  const std::size_t length = field(rest, lengthBytes - 4, 4);
  rest = rest.subspan(lengthBytes);
  if (huge || length > rest.size()) throw DamagedPicture("it ends within its header");
  const PictureBytes part = rest.first(length);
  rest = rest.subspan(length);
  return part;
}

/// The image resource of this number; empty when it is missing. A block has a mark, a number, a name whose
/// first byte is its length, and a length with as many bytes; names and data end at even offsets.
PictureBytes resource(PictureBytes resources, std::uint32_t number) {
  for (std::size_t at = 0; at < resources.size() && resources.size() - at >= 12;) {
    const std::size_t data = at + 6 + even(1 + field(resources, at + 6, 1)) + 4;
    if (textOf(resources.subspan(at, 4)) != "8BIM" || data > resources.size()) break;
    const std::size_t length = field(resources, data - 4, 4);
    if (length > resources.size() - data) break;
    if (field(resources, at + 4, 2) == number) return resources.subspan(data, length);
    at = data + even(length);
  }
  return {};
}

/// A negative number of layers says that the channel after the colours is the flat picture's alpha. Deep
/// pictures keep their layers in a tagged block.
bool hasAlpha(PictureBytes layers, std::size_t lengthBytes) {
  const auto negative = [](PictureBytes info) { return (field(info, 0, 2) & 0x8000) != 0; };
  if (layers.size() < lengthBytes) return false;
  if (const PictureBytes info = takePart(layers, lengthBytes); !info.empty()) return negative(info);
  if (layers.size() < 4) return false;
  takePart(layers, 4); // the global mask
  while (layers.size() >= 12) {
    const std::string_view key = textOf(layers.subspan(4, 4));
    const bool isLayers = key == "Lr16" || key == "Lr32" || key == "Layr",
               isMark = key == "Mt16" || key == "Mt32" || key == "Mtrn";
    layers = layers.subspan(8);
    const PictureBytes block = takePart(layers, isLayers || isMark ? lengthBytes : 4);
    if (isMark || (isLayers && negative(block))) return true;
    layers = layers.subspan(std::min(layers.size(), even(block.size()) - block.size()));
  }
  return false;
}

/// Unpacks a row of PackBits: a byte n up to 127 is followed by n + 1 bytes as they are, one from 129 on by a
/// byte that stands 257 - n times.
void unpack(PictureBytes packed, std::span<std::byte> row) {
  std::size_t from = 0, to = 0;
  while (to < row.size() && from < packed.size()) {
    const auto head = std::to_integer<std::size_t>(packed[from++]);
    if (head == 128) continue;
    const bool run = head > 128;
    const std::size_t count = run ? 257 - head : head + 1, taken = run ? 1 : count;
    if (count > row.size() - to || taken > packed.size() - from) break;
    if (run)
      std::fill_n(row.begin() + static_cast<std::ptrdiff_t>(to), count, packed[from]);
    else
      std::copy_n(packed.begin() + static_cast<std::ptrdiff_t>(from), count,
                  row.begin() + static_cast<std::ptrdiff_t>(to));
    from += taken;
    to += count;
  }
  if (to < row.size()) throw DamagedPicture("a packed row is too short");
}

class Reader {
 public:
  explicit Reader(PictureBytes file)
      : large_(field(file, 4, 2) == 2), channels_(field(file, 12, 2)), height_(field(file, 14, 4)),
        width_(field(file, 18, 4)), depth_(field(file, 22, 2)), mode_(static_cast<Mode>(field(file, 24, 2))) {
    PictureBytes rest = file.subspan(std::min(file.size(), headerBytes));
    parts_.palette = takePart(rest, 4);
    parts_.resources = takePart(rest, 4);
    parts_.layers = takePart(rest, large_ ? 8 : 4);
    parts_.pixels = rest;
    if (mode_ == Mode::channels) mode_ = channels_ < 3 ? Mode::grey : Mode::rgb;
    check();
    rowBytes_ = (std::size_t{width_} * depth_ + 7) / 8;
    alpha_ = channels_ > colors() && hasAlpha(parts_.layers, large_ ? 8 : 4);
    planes_ = colors() + (alpha_ ? 1 : 0);
    if (const PictureBytes index = resource(parts_.resources, transparentIndex);
        mode_ == Mode::palette && index.size() >= 2)
      transparent_ = field(index, 0, 2);
  }

  RawPicture read() {
    RawPicture raw;
    startPicture(raw.picture, width_, height_, (depth_ + 7) / 8);
    findRows();
    raw.picture.hasAlpha = alpha_ || transparent_;
    raw.colors = colorsOfFile();
    const PictureBytes icc = resource(parts_.resources, profile);
    raw.profile.assign(icc.begin(), icc.end());
    if (depth_ == 32)
      readRows(raw.picture, raw.picture.floats, 1.0f);
    else if (depth_ == 16)
      readRows<std::uint16_t>(raw.picture, raw.picture.words, 65535);
    else
      readRows<unsigned char>(raw.picture, raw.picture.bytes, 255);
    return raw;
  }

 private:
  void check() const {
    const bool known = mode_ <= Mode::inks || mode_ == Mode::duotone;
    if (!known)
      throw PictureError(IMAGERESULT_WRONGTYPE, "has a colour mode that is not read. Save it as RGB.");
    const bool deep = depth_ == 16 && mode_ != Mode::palette;
    const bool floats = depth_ == 32 && mode_ != Mode::palette && mode_ != Mode::inks;
    if (mode_ == Mode::bits ? depth_ != 1 : depth_ != 8 && !deep && !floats)
      throw DamagedPicture("its depth does not exist");
    if (channels_ < colors()) throw DamagedPicture("it has too few channels");
    if (mode_ == Mode::palette && parts_.palette.size() < 768)
      throw DamagedPicture("its palette is too short");
  }

  std::size_t colors() const { return mode_ == Mode::rgb ? 3 : mode_ == Mode::inks ? 4 : 1; }

  FileColors colorsOfFile() const {
    if (mode_ == Mode::rgb || mode_ == Mode::palette) return FileColors::rgb;
    if (mode_ != Mode::inks) return FileColors::grey;
    return alpha_ ? FileColors::rgb
                  : FileColors::inks; // with alpha mixed here: four channels do not hold both
  }

  /// Checks that all rows are in the file, and notes where packed ones begin.
  void findRows() {
    constexpr std::uint32_t plain = 0, packed = 1;
    const std::uint32_t packing = field(parts_.pixels, 0, 2);
    PictureBytes rest = parts_.pixels.subspan(std::min<std::size_t>(parts_.pixels.size(), 2));
    const std::size_t rows = planes_ * height_, lengthBytes = large_ ? 4 : 2;
    if (packing != plain && packing != packed) throw DamagedPicture("its packing does not exist");
    if (packing == plain) {
      if (rest.size() / rowBytes_ < rows) throw DamagedPicture("it ends before its pixels");
      parts_.pixels = rest;
      return;
    }
    const std::size_t table = std::size_t{channels_} * height_ * lengthBytes;
    if (rest.size() < table) throw DamagedPicture("it ends before its pixels");
    parts_.pixels = rest.subspan(table);
    packedRows_.reserve(rows + 1);
    packedRows_.push_back(0);
    for (std::size_t i = 0; i < rows; ++i)
      packedRows_.push_back(packedRows_.back() + field(rest, i * lengthBytes, lengthBytes));
    if (packedRows_.back() > parts_.pixels.size()) throw DamagedPicture("it ends before its pixels");
  }

  PictureBytes planeRow(std::size_t plane, std::size_t y, std::vector<std::byte>& memory) const {
    const std::size_t row = plane * height_ + y;
    if (packedRows_.empty()) return parts_.pixels.subspan(row * rowBytes_, rowBytes_);
    memory.resize(rowBytes_);
    unpack(parts_.pixels.subspan(packedRows_[row], packedRows_[row + 1] - packedRows_[row]), memory);
    return memory;
  }

  template <class Value>
  static Value valueAt(PictureBytes row, std::size_t x) {
    if constexpr (sizeof(Value) == 4)
      return std::bit_cast<float>(field(row, x * 4, 4));
    else
      return static_cast<Value>(field(row, x * sizeof(Value), sizeof(Value)));
  }

  template <class Value>
  void readRows(const DecodedPicture& picture, std::vector<Value>& pixels, Value full) {
    std::array<std::vector<std::byte>, 5> memory;
    std::array<PictureBytes, 5> rows;
    for (std::size_t y = 0; y < height_; ++y) {
      for (std::size_t plane = 0; plane < planes_; ++plane)
        rows[plane] = planeRow(plane, y, memory[plane]);
      Value* to = addRow(picture, pixels);
      for (std::size_t x = 0; x < width_; ++x, to += 4) {
        readColor(rows, x, full, to);
        if (mode_ == Mode::inks && !alpha_) continue;
        to[3] = alpha_                                                 ? valueAt<Value>(rows[colors()], x)
                : transparent_ && field(rows[0], x, 1) == transparent_ ? Value{}
                                                                       : full;
        if (alpha_) takeWhiteOut(to, full);
      }
    }
  }

  template <class Value>
  void readColor(const std::array<PictureBytes, 5>& rows, std::size_t x, Value full, Value* to) const {
    switch (mode_) {
    case Mode::bits: { // 1 is black
      const bool black = (std::to_integer<unsigned>(rows[0][x / 8]) >> (7 - x % 8) & 1) != 0;
      std::fill_n(to, 3, black ? Value{} : full);
      break;
    }
    case Mode::palette:
      for (std::size_t c = 0; c < 3; ++c)
        to[c] = static_cast<Value>(field(parts_.palette, c * 256 + field(rows[0], x, 1), 1));
      break;
    case Mode::rgb:
      for (std::size_t c = 0; c < 3; ++c)
        to[c] = valueAt<Value>(rows[c], x);
      break;
    case Mode::inks: // stored inverted
      for (std::size_t c = 0; c < 4; ++c)
        to[c] = static_cast<Value>(full - valueAt<Value>(rows[c], x));
      if (alpha_)
        for (std::size_t c = 0; c < 3; ++c)
          to[c] = static_cast<Value>(static_cast<double>(full - to[c]) * (full - to[3]) / full);
      break;
    default:
      std::fill_n(to, 3, valueAt<Value>(rows[0], x));
    }
  }

  /// The flat picture of a transparent one lies on white.
  template <class Value>
  static void takeWhiteOut(Value* pixel, Value full) {
    const double alpha = static_cast<double>(pixel[3]) / full;
    if (alpha <= 0 || alpha >= 1) return;
    for (std::size_t c = 0; c < 3; ++c) {
      const double straight = (pixel[c] - full * (1 - alpha)) / alpha;
      if constexpr (std::is_integral_v<Value>)
        pixel[c] = static_cast<Value>(std::clamp(straight, 0.0, static_cast<double>(full)) + 0.5);
      else
        pixel[c] = static_cast<Value>(std::max(straight, 0.0));
    }
  }

  bool large_;
  std::uint32_t channels_, height_, width_, depth_;
  Mode mode_;
  Parts parts_;
  std::size_t rowBytes_ = 0, planes_ = 0;
  bool alpha_ = false;                       // the channel after the colours is one
  std::optional<std::uint32_t> transparent_; // the index of a palette
  std::vector<std::size_t> packedRows_;      // where they begin, and the end; empty when the rows are plain
};

} // namespace

RawPicture readPsd(PictureBytes file) {
  if (file.size() < headerBytes) throw DamagedPicture();
  return Reader(file).read();
}

} // namespace host
