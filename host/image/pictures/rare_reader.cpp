// Reads rare formats through OpenImageIO.
#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "rare_files.h"

namespace host {
namespace {

std::string messageOf(OIIO::ImageInput* reader) {
  std::string detail = reader ? reader->geterror() : OIIO::geterror();
  std::replace(detail.begin(), detail.end(), '\n', ' ');
  return detail;
}

/// The file's channels that are red, green, blue and alpha; -1 for a missing one.
std::array<int, 4> findChannels(const OIIO::ImageSpec& spec) {
  // The reader of GIF sets a number past its channels.
  const bool known = spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels;
  const int alpha = known ? spec.alpha_channel : spec.channelindex("A");
  if (spec.nchannels >= 3 && !(spec.nchannels == 3 && alpha >= 0)) return {0, 1, 2, alpha};
  return {0, 0, 0, spec.nchannels == 2 ? 1 : -1}; // grey
}

template <class Value>
void readRows(OIIO::ImageInput& reader, const OIIO::ImageSpec& spec, OIIO::TypeDesc type, Value opaque,
              RawPicture& raw, std::vector<Value>& pixels) {
  constexpr int step = 64;
  const std::array<int, 4> index = findChannels(spec);
  const auto count = static_cast<std::size_t>(spec.nchannels), width = static_cast<std::size_t>(spec.width);
  std::vector<Value> band(width * static_cast<std::size_t>(std::min(step, spec.height)) * count);
  for (int row = 0; row < spec.height; row += step) {
    const int end = std::min(row + step, spec.height);
    if (!reader.read_scanlines(0, 0, spec.y + row, spec.y + end, 0, 0, spec.nchannels, type, band.data()) ||
        reader.has_error()) // some readers return success and leave a message
      throw DamagedPicture(messageOf(&reader));
    const Value* from = band.data();
    for (int y = row; y < end; ++y) {
      Value* to = addRow(raw.picture, pixels);
      for (std::size_t x = 0; x < width; ++x, to += 4, from += count)
        for (std::size_t c = 0; c < 4; ++c)
          to[c] = index[c] < 0 ? opaque : from[index[c]];
    }
  }
}

} // namespace

void setUpReader() {
  // The calling thread does all the work.
  OIIO::attribute("threads", 1);
  OIIO::attribute("exr_threads", -1);
  OIIO::attribute("use_tbb", 0);
  OIIO::attribute("try_all_readers", 0);
  OIIO::attribute("limits:channels", 64);
}

RawPicture readRareFile(const char* format, PictureBytes file) {
  OIIO::Filesystem::IOMemReader memory(file.data(), file.size());
  const std::unique_ptr<OIIO::ImageInput> reader = OIIO::ImageInput::create(format);
  if (!reader)
    throw PictureError(IMAGERESULT_WRONGTYPE,
                       "cannot be read: the image library was built without " + std::string(format) + ".");
  reader->threads(1);
  OIIO::ImageSpec spec, wish;
  wish.attribute("oiio:UnassociatedAlpha", 1); // straight colours, also where alpha is 0
  if (!reader->set_ioproxy(&memory) || !reader->open(std::string("picture.") + format, spec, wish))
    throw DamagedPicture(messageOf(reader.get()));
  if (spec.width < 1 || spec.height < 1 || spec.nchannels < 1 || spec.depth > 1) throw DamagedPicture();
  RawPicture raw;
  const bool floats = spec.format.is_floating_point(), deep = !floats && spec.format.size() > 1;
  startPicture(raw.picture, static_cast<std::uint64_t>(spec.width), static_cast<std::uint64_t>(spec.height),
               floats ? sizeof(float)
               : deep ? 2
                      : 1);
  raw.picture.hasAlpha = findChannels(spec)[3] >= 0;
  if (floats)
    readRows<float>(*reader, spec, OIIO::TypeDesc::FLOAT, 1.0f, raw, raw.picture.floats);
  else if (deep)
    readRows<std::uint16_t>(*reader, spec, OIIO::TypeDesc::UINT16, 65535, raw, raw.picture.words);
  else
    readRows<unsigned char>(*reader, spec, OIIO::TypeDesc::UINT8, 255, raw, raw.picture.bytes);
  reader->close();
  return raw;
}

} // namespace host
