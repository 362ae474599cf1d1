// PNM: P1 to P6, by the format pages of the Netpbm project.
#include <algorithm>

#include "byte_reader.h"

namespace host {
namespace {

class Reader {
 public:
  explicit Reader(PictureBytes file) : file_(file, 1), kind_(file_.byte() - '0') {
    width_ = number();
    height_ = number();
    most_ = bits() ? 1 : number();
    if (most_ < 1 || most_ > 65535) throw DamagedPicture("its largest value does not exist");
    if (packed()) file_.skip(1); // one blank
  }

  RawPicture read() {
    RawPicture raw;
    raw.colors = colors() ? FileColors::rgb : FileColors::grey;
    startPicture(raw.picture, width_, height_, most_ > 255 ? 2 : 1);
    if (most_ > 255)
      readRows<std::uint16_t>(raw.picture, raw.picture.words, 65535);
    else
      readRows<unsigned char>(raw.picture, raw.picture.bytes, 255);
    return raw;
  }

 private:
  bool bits() const { return kind_ == 1 || kind_ == 4; }
  bool colors() const { return kind_ == 3 || kind_ == 6; }
  bool packed() const { return kind_ >= 4; }

  void skipBlanks() {
    for (unsigned c = file_.peek(); c == '#' || c == ' ' || (c >= '\t' && c <= '\r'); c = file_.peek())
      if (file_.byte() == '#')
        while (file_.left() != 0 && file_.byte() != '\n') {
        }
  }

  /// A decimal number; values past any limit of the format become one that is refused.
  std::uint32_t number() {
    constexpr std::uint32_t refused = 1 << 24;
    skipBlanks();
    if (file_.peek() < '0' || file_.peek() > '9') throw DamagedPicture("a number is missing");
    std::uint32_t value = 0;
    while (file_.peek() >= '0' && file_.peek() <= '9')
      value = std::min(refused, value * 10 + (file_.byte() - '0'));
    return value;
  }

  std::uint32_t sample() {
    if (kind_ == 1) {
      skipBlanks();
      return file_.byte() == '1' ? 0 : 1; // 1 is black
    }
    if (!packed()) return number();
    return most_ > 255 ? file_.byte() << 8 | file_.byte() : file_.byte();
  }

  template <class Value>
  void readRows(const DecodedPicture& picture, std::vector<Value>& pixels, std::uint32_t full) {
    const std::size_t width = width_, channels = colors() ? 3 : 1;
    for (std::uint32_t y = 0; y < height_; ++y) {
      const PictureBytes row = kind_ == 4 ? file_.take((width + 7) / 8) : PictureBytes();
      Value* to = addRow(picture, pixels);
      for (std::size_t x = 0; x < width; ++x, to += 4) {
        for (std::size_t c = 0; c < channels; ++c) {
          const std::uint32_t value =
              kind_ == 4 ? ~(std::to_integer<std::uint32_t>(row[x / 8]) >> (7 - x % 8)) & 1 : sample();
          to[c] = static_cast<Value>((std::min(value, most_) * std::uint64_t{full} + most_ / 2) / most_);
        }
        if (channels == 1) to[1] = to[2] = to[0];
        to[3] = static_cast<Value>(full);
      }
    }
  }

  ByteReader file_;
  unsigned kind_;
  std::uint32_t width_ = 0, height_ = 0, most_ = 0;
};

} // namespace

RawPicture readPnm(PictureBytes file) {
  return Reader(file).read();
}

} // namespace host
