// OpenEXR through its own library, without the library's threads.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "bitmap_data.h"
#include "picture_codec.h"

namespace host {
namespace {

constexpr int noThreads = 0;
constexpr int rowsAtOnce = 64;

/// The library keeps its largest sides globally, for all files.
void setLimits() {
  static const bool done = [] {
    Imf::Header::setMaxImageSize(maxPictureSide, maxPictureSide);
    Imf::Header::setMaxTileSize(maxPictureSide, maxPictureSide);
    return true;
  }();
  static_cast<void>(done);
}

class MemoryInput : public Imf::IStream {
 public:
  explicit MemoryInput(PictureBytes file) : IStream("picture"), file_(file) {}
  bool read(char to[], int count) override {
    if (count < 0 || position_ > file_.size() || static_cast<std::size_t>(count) > file_.size() - position_)
      throw DamagedPicture("it ends too early");
    std::memcpy(to, file_.data() + position_, static_cast<std::size_t>(count));
    position_ += static_cast<std::size_t>(count);
    return position_ < file_.size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }
  void clear() override {}

 private:
  PictureBytes file_;
  std::uint64_t position_ = 0;
};

/// The names of the channels that become red, green, blue and alpha; empty where a channel is missing.
using Names = std::array<std::string, 4>;

bool has(const Imf::ChannelList& channels, const std::string& name) {
  const Imf::Channel* channel = channels.findChannel(name);
  return channel && channel->xSampling == 1 && channel->ySampling == 1;
}

/// The colour channels of a layer, such as "diffuse."; of the plain picture for "".
Names colorNames(const Imf::ChannelList& channels, const std::string& layer) {
  if (!has(channels, layer + "R") || !has(channels, layer + "G") || !has(channels, layer + "B")) return {};
  return {layer + "R", layer + "G", layer + "B", has(channels, layer + "A") ? layer + "A" : ""};
}

/// The plain picture's colours, else those of the first layer that has colours.
Names colorNames(const Imf::ChannelList& channels) {
  Names names = colorNames(channels, "");
  for (auto channel = channels.begin(); names[0].empty() && channel != channels.end(); ++channel) {
    const std::string name = channel.name();
    const std::size_t point = name.rfind('.');
    if (point != name.npos) names = colorNames(channels, name.substr(0, point + 1));
  }
  return names;
}

/// Luminance as grey, else the first three channels as colours, else the first one as grey.
Names otherNames(const Imf::ChannelList& channels) {
  const std::string alpha = has(channels, "A") ? "A" : "";
  if (has(channels, "Y")) return {"Y", "Y", "Y", alpha};
  std::vector<std::string> all;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel)
    if (has(channels, channel.name()) && channel.name() != std::string("A")) all.emplace_back(channel.name());
  if (all.empty()) return {};
  return all.size() >= 3 ? Names{all[0], all[1], all[2], alpha} : Names{all[0], all[0], all[0], alpha};
}

bool isFlat(const Imf::Header& header) {
  return !header.hasType() || (header.type() != Imf::DEEPSCANLINE && header.type() != Imf::DEEPTILE);
}

bool hasChroma(const Imf::ChannelList& channels) {
  return channels.findChannel("RY") && channels.findChannel("BY") && channels.findChannel("Y");
}

/// The first part with colours, else the first one.
int choosePart(const Imf::MultiPartInputFile& file) {
  int flat = -1;
  for (int part = 0; part < file.parts(); ++part) {
    const Imf::Header& header = file.header(part);
    if (!isFlat(header)) continue;
    if (!colorNames(header.channels())[0].empty() || (part == 0 && hasChroma(header.channels()))) return part;
    if (flat < 0) flat = part;
  }
  if (flat < 0) throw PictureError(IMAGERESULT_WRONGTYPE, "holds deep samples. Save it as a flat picture.");
  return flat;
}

std::uint64_t side(int low, int high) {
  return high < low ? 0 : static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
}

/// Makes values finite and divides colours by their alpha; colours where alpha is 0 do not change. The number
/// of pixels that were not finite: 0 or 1.
float finite(float value) {
  if (std::isnan(value)) return 0;
  return std::isinf(value) ? std::copysign(65504.0f, value) : value;
}
std::size_t finishPixel(float* rgba, bool multiplied) {
  const bool good = std::all_of(rgba, rgba + 4, [](float value) { return std::isfinite(value); });
  for (int c = 0; c < 4; ++c)
    rgba[c] = finite(rgba[c]);
  if (!multiplied || rgba[3] <= 0 || rgba[3] == 1) return good ? 0 : 1;
  for (int c = 0; c < 3; ++c)
    rgba[c] = finite(rgba[c] / rgba[3]);
  return good ? 0 : 1;
}

/// Luminance with colours at half the resolution, which the library returns as 16-bit floats.
void readChroma(PictureBytes bytes, RawPicture& raw) {
  MemoryInput memory(bytes);
  Imf::RgbaInputFile file(memory, noThreads);
  const Imath::Box2i window = file.dataWindow();
  raw.picture.hasAlpha = (file.channels() & Imf::WRITE_A) != 0;
  const auto width = static_cast<std::size_t>(raw.picture.width);
  std::vector<Imf::Rgba> row(width);
  for (int y = window.min.y; y <= window.max.y; ++y) {
    const auto offset = static_cast<std::ptrdiff_t>(window.min.x);
    file.setFrameBuffer(row.data() - offset, 1, 0);
    file.readPixels(y);
    float* to = addRow(raw.picture, raw.picture.floats);
    for (std::size_t x = 0; x < width; ++x, to += 4) {
      const float values[] = {row[x].r, row[x].g, row[x].b, raw.picture.hasAlpha ? float(row[x].a) : 1.0f};
      std::copy_n(values, 4, to);
      raw.picture.notFinite += finishPixel(to, raw.picture.hasAlpha);
    }
  }
}

Imf::FrameBuffer bandBuffer(float* pixels, const Names& names, const Imath::Box2i& window, int top) {
  const std::size_t pixel = 4 * sizeof(float), row = pixel * side(window.min.x, window.max.x);
  // The library adds the coordinates of each pixel to an address before the picture's.
  const auto address = reinterpret_cast<std::uintptr_t>(pixels) -
                       static_cast<std::uintptr_t>(static_cast<std::ptrdiff_t>(window.min.x)) * pixel -
                       static_cast<std::uintptr_t>(static_cast<std::ptrdiff_t>(top)) * row;
  Imf::FrameBuffer buffer;
  for (std::size_t c = 0; c < 4; ++c)
    if (!names[c].empty() && (c == 0 || names[c] != names[0]))
      buffer.insert(names[c],
                    Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(address + c * sizeof(float)), pixel, row));
  return buffer;
}

void readBands(Imf::InputPart& part, const Names& names, RawPicture& raw) {
  const Imf::Header& header = part.header();
  const Imath::Box2i window = header.dataWindow();
  const bool grey = names[1] == names[0], alpha = !names[3].empty();
  raw.picture.hasAlpha = alpha;
  raw.colors = grey ? FileColors::grey : FileColors::rgb;
  const int step =
      header.hasTileDescription()
          ? static_cast<int>(std::clamp(header.tileDescription().ySize, 1u, unsigned{maxPictureSide}))
          : rowsAtOnce;
  for (int y = window.min.y; y <= window.max.y; y += std::min(step, window.max.y - y + 1)) {
    const int last = std::min(y + step - 1, window.max.y);
    const std::size_t before = raw.picture.floats.size();
    for (int row = y; row <= last; ++row)
      addRow(raw.picture, raw.picture.floats);
    float* band = raw.picture.floats.data() + before;
    part.setFrameBuffer(bandBuffer(band, names, window, y));
    part.readPixels(y, last);
    for (std::size_t i = before; i < raw.picture.floats.size(); i += 4, band += 4) {
      if (grey) band[1] = band[2] = band[0];
      if (!alpha) band[3] = 1;
      raw.picture.notFinite += finishPixel(band, alpha);
    }
  }
}

/// A band of tiles is unpacked as a whole.
void requireTiles(const Imf::Header& header) {
  if (!header.hasTileDescription()) return;
  const Imf::TileDescription& tiles = header.tileDescription();
  std::uint64_t channels = 0;
  for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel)
    ++channels;
  const Imath::Box2i window = header.dataWindow();
  const std::uint64_t wide = side(window.min.x, window.max.x) + tiles.xSize;
  if (!fitsMemory(wide * tiles.ySize * channels * sizeof(float))) throw std::bad_alloc();
}

} // namespace

RawPicture readExr(PictureBytes bytes) {
  setLimits();
  MemoryInput memory(bytes);
  Imf::MultiPartInputFile file(memory, noThreads);
  const int index = choosePart(file);
  const Imf::Header& header = file.header(index);
  const Imath::Box2i window = header.dataWindow();
  RawPicture raw;
  startPicture(raw.picture, side(window.min.x, window.max.x), side(window.min.y, window.max.y),
               sizeof(float));
  Names names = colorNames(header.channels());
  if (names[0].empty() && index == 0 && hasChroma(header.channels())) {
    readChroma(bytes, raw);
    return raw;
  }
  if (names[0].empty()) names = otherNames(header.channels());
  if (names[0].empty())
    throw PictureError(IMAGERESULT_WRONGTYPE,
                       "has no channel of full resolution. Save it with red, green and blue.");
  requireTiles(header);
  Imf::InputPart part(file, index);
  readBands(part, names, raw);
  return raw;
}

} // namespace host
