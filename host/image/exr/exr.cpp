// OpenEXR through its own library, without the library's threads.
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStandardAttributes.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "bitmap_data.h"
#include "exr_input.h"

namespace host {
namespace {

constexpr int noThreads = 0;
constexpr int rowsAtOnce = 64;

/// Luminance as grey, else the first three channels as colours, else the first one as grey.
ExrColorNames otherNames(const Imf::ChannelList& channels) {
  const std::string alpha = hasExrChannel(channels, "A") ? "A" : "";
  if (hasExrChannel(channels, "Y")) return {"Y", "Y", "Y", alpha};
  std::vector<std::string> all;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel)
    if (hasExrChannel(channels, channel.name()) && channel.name() != std::string("A"))
      all.emplace_back(channel.name());
  if (all.empty()) return {};
  return all.size() >= 3 ? ExrColorNames{all[0], all[1], all[2], alpha}
                         : ExrColorNames{all[0], all[0], all[0], alpha};
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
  ExrInput memory(bytes);
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

Imf::FrameBuffer bandBuffer(float* pixels, const ExrColorNames& names, const Imath::Box2i& window, int top) {
  const std::size_t pixel = 4 * sizeof(float), row = pixel * exrSide(window.min.x, window.max.x);
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

void readBands(Imf::InputPart& part, const ExrColorNames& names, RawPicture& raw) {
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

} // namespace

RawPicture readExr(PictureBytes bytes) {
  setExrLimits();
  ExrInput memory(bytes);
  Imf::MultiPartInputFile file(memory, noThreads);
  const int index = chooseExrPart(file);
  const Imf::Header& header = file.header(index);
  const Imath::Box2i window = header.dataWindow();
  RawPicture raw;
  startPicture(raw.picture, exrSide(window.min.x, window.max.x), exrSide(window.min.y, window.max.y),
               sizeof(float));
  ExrColorNames names = exrColorNames(header.channels());
  if (!names[0].empty()) {
    raw.namesPrimaries = Imf::hasChromaticities(header);
    raw.toRec709 = exrToRec709(header);
  }
  if (names[0].empty() && index == 0 && hasExrChroma(header.channels())) {
    readChroma(bytes, raw);
    return raw;
  }
  if (names[0].empty()) names = otherNames(header.channels());
  if (names[0].empty())
    throw PictureError(IMAGERESULT_WRONGTYPE,
                       "has no channel of full resolution. Save it with red, green and blue.");
  requireExrTiles(header);
  Imf::InputPart part(file, index);
  readBands(part, names, raw);
  return raw;
}

} // namespace host
