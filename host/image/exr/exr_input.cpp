#include "exr_input.h"

#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStandardAttributes.h>

#include "bitmap_data.h"

namespace host {

void setExrLimits() {
  static const bool done = [] {
    Imf::Header::setMaxImageSize(maxPictureSide, maxPictureSide);
    Imf::Header::setMaxTileSize(maxPictureSide, maxPictureSide);
    return true;
  }();
  static_cast<void>(done);
}

bool hasExrChannel(const Imf::ChannelList& channels, const std::string& name) {
  const Imf::Channel* channel = channels.findChannel(name);
  return channel && channel->xSampling == 1 && channel->ySampling == 1;
}

namespace {

/// The colour channels of a layer, such as "diffuse."; of the plain picture for "".
ExrColorNames namesIn(const Imf::ChannelList& channels, const std::string& layer) {
  const auto has = [&](const char* end) { return hasExrChannel(channels, layer + end); };
  if (!has("R") || !has("G") || !has("B")) return {};
  return {layer + "R", layer + "G", layer + "B", has("A") ? layer + "A" : ""};
}

} // namespace

ExrColorNames exrColorNames(const Imf::ChannelList& channels) {
  ExrColorNames names = namesIn(channels, "");
  for (auto channel = channels.begin(); names[0].empty() && channel != channels.end(); ++channel) {
    const std::string name = channel.name();
    const std::size_t point = name.rfind('.');
    if (point != name.npos) names = namesIn(channels, name.substr(0, point + 1));
  }
  return names;
}

bool hasExrChroma(const Imf::ChannelList& channels) {
  return channels.findChannel("RY") && channels.findChannel("BY") && channels.findChannel("Y");
}

bool isFlatExr(const Imf::Header& header) {
  return !header.hasType() || (header.type() != Imf::DEEPSCANLINE && header.type() != Imf::DEEPTILE);
}

int chooseExrPart(const Imf::MultiPartInputFile& file) {
  int flat = -1;
  for (int part = 0; part < file.parts(); ++part) {
    const Imf::Header& header = file.header(part);
    if (!isFlatExr(header)) continue;
    if (!exrColorNames(header.channels())[0].empty() || (part == 0 && hasExrChroma(header.channels())))
      return part;
    if (flat < 0) flat = part;
  }
  if (flat < 0) throw PictureError(IMAGERESULT_WRONGTYPE, "holds deep samples. Save it as a flat picture.");
  return flat;
}

std::optional<ColorMatrix> exrToRec709(const Imf::Header& header) {
  if (!Imf::hasChromaticities(header)) return std::nullopt;
  const Imf::Chromaticities& file = Imf::chromaticities(header);
  const auto point = [](const Imath::V2f& p) { return Primaries::Point{p.x, p.y}; };
  return toRec709({point(file.red), point(file.green), point(file.blue), point(file.white)});
}

std::uint64_t exrSide(int low, int high) {
  return high < low ? 0 : static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
}

void requireExrTiles(const Imf::Header& header) {
  if (!header.hasTileDescription()) return;
  const Imf::TileDescription& tiles = header.tileDescription();
  std::uint64_t channels = 0;
  for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel)
    ++channels;
  const Imath::Box2i window = header.dataWindow();
  const std::uint64_t wide = exrSide(window.min.x, window.max.x) + tiles.xSize;
  if (!fitsMemory(wide * tiles.ySize * channels * sizeof(float))) throw std::bad_alloc();
}

} // namespace host
