#include "picture_decode.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <span>
#include <string_view>

#include "bitmap_data.h"
#include "image_library.h"
#include "picture_kind.h"
#include "picture_load.h"

namespace host {
namespace {

LoadedPicture failure(IMAGERESULT result, const std::string& name, std::string_view sentence) {
  return {result, "Picture \"" + name + "\" " + std::string(sentence), nullptr};
}

LoadedPicture damaged(const std::string& name, OIIO::ImageInput* reader) {
  std::string detail = reader ? reader->geterror() : std::string();
  std::replace(detail.begin(), detail.end(), '\n', ' ');
  if (!detail.empty()) detail = " (" + detail + ")";
  return failure(IMAGERESULT_FILESTRUCTURE, name,
                 "is damaged or cut off" + detail + ". Save it again from the program that made it.");
}

/// Which of the file's channels are red, green, blue and alpha; -1 for none.
struct Channels {
  std::array<int, 4> index{-1, -1, -1, -1};
};

Channels findChannels(const OIIO::ImageSpec& spec) {
  Channels channels;
  const auto named = [&spec](std::string_view name) {
    for (int i = 0; i < spec.nchannels; ++i)
      if (spec.channelnames[static_cast<std::size_t>(i)] == name) return i;
    return -1;
  };
  const int alpha = spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels ? spec.alpha_channel : -1;
  const bool hasNames = static_cast<int>(spec.channelnames.size()) == spec.nchannels;
  if (hasNames && named("R") >= 0 && named("G") >= 0 && named("B") >= 0)
    channels.index = {named("R"), named("G"), named("B"), alpha};
  else if (spec.nchannels >= 3 && !(spec.nchannels == 3 && alpha >= 0))
    channels.index = {0, 1, 2, spec.nchannels == 4 && alpha < 0 && !hasNames ? 3 : alpha};
  else
    channels.index = {0, 0, 0, spec.nchannels == 2 ? 1 : -1}; // grey
  return channels;
}

float finite(float value) noexcept {
  if (std::isnan(value)) return 0;
  return std::isinf(value) ? std::copysign(65504.0f, value) : value;
}
unsigned char finite(unsigned char value) noexcept {
  return value;
}

/// Divides a colour by its alpha; a colour without alpha stays.
void separateAlpha(float* rgba) noexcept {
  if (rgba[3] <= 0 || rgba[3] == 1) return;
  for (int c = 0; c < 3; ++c)
    rgba[c] = finite(rgba[c] / rgba[3]);
}
void separateAlpha(unsigned char* rgba) noexcept {
  if (rgba[3] == 0 || rgba[3] == 255) return;
  for (int c = 0; c < 3; ++c)
    rgba[c] = static_cast<unsigned char>(std::min(255, (rgba[c] * 255 + rgba[3] / 2) / rgba[3]));
}

/// Spreads pixels that come as red, green, blue and, where `count` is 4, alpha.
template <std::size_t count, class Value>
void spreadInOrder(const Value* source, Value opaque, std::span<Value> out) {
  Value* to = out.data();
  for (std::size_t left = out.size() / 4; left > 0; --left, to += 4, source += count) {
    to[0] = finite(source[0]);
    to[1] = finite(source[1]);
    to[2] = finite(source[2]);
    to[3] = count == 4 ? finite(source[count - 1]) : opaque;
  }
}

/// Spreads pixels of `count` channels over red, green, blue and alpha.
template <class Value>
void spread(const Value* source, std::size_t count, const Channels& channels, Value opaque,
            std::span<Value> out) {
  const std::array<int, 4>& index = channels.index;
  if (count == 3 && index == std::array{0, 1, 2, -1}) return spreadInOrder<3>(source, opaque, out);
  if (count == 4 && index == std::array{0, 1, 2, 3}) return spreadInOrder<4>(source, opaque, out);
  for (std::size_t i = 0; i < out.size(); i += 4, source += count)
    for (std::size_t c = 0; c < 4; ++c)
      out[i + c] = index[c] < 0 ? opaque : finite(source[index[c]]);
}

/// Reads the picture in bands of rows. The pixels' memory grows as rows arrive: a short file that claims a
/// huge picture fails before it costs anything.
template <class Value>
bool readPixels(OIIO::ImageInput& reader, const OIIO::ImageSpec& spec, const Channels& channels,
                bool multiplied, OIIO::TypeDesc type, Value opaque, std::vector<Value>& pixels) {
  const auto width = static_cast<std::size_t>(spec.width), height = static_cast<std::size_t>(spec.height);
  const auto count = static_cast<std::size_t>(spec.nchannels);
  const bool tiled = spec.tile_width > 0;
  const int step = tiled ? std::clamp(spec.tile_height, 1, maxPictureSide) : 64;
  std::vector<Value> band(width * static_cast<std::size_t>(std::min(step, spec.height)) * count);
  pixels.reserve(width * height * 4);
  for (int row = 0; row < spec.height; row += step) {
    const int end = std::min(row + step, spec.height);
    const bool done = tiled ? reader.read_tiles(0, 0, spec.x, spec.x + spec.width, spec.y + row, spec.y + end,
                                                0, 1, 0, spec.nchannels, type, band.data())
                            : reader.read_scanlines(0, 0, spec.y + row, spec.y + end, 0, 0, spec.nchannels,
                                                    type, band.data());
    if (!done || reader.has_error()) return false; // some readers only leave a message
    const std::size_t before = pixels.size();
    pixels.resize(before + width * static_cast<std::size_t>(end - row) * 4);
    const std::span fresh = std::span(pixels).subspan(before);
    spread<Value>(band.data(), count, channels, opaque, fresh);
    for (std::size_t i = 0; multiplied && i < fresh.size(); i += 4)
      separateAlpha(&fresh[i]);
  }
  return true;
}

LoadedPicture readPicture(OIIO::ImageInput& reader, const OIIO::ImageSpec& spec, const std::string& name) {
  if (spec.width < 1 || spec.height < 1 || spec.nchannels < 1 || spec.depth > 1 || spec.tile_depth > 1)
    return damaged(name, nullptr);
  if (spec.deep)
    return failure(IMAGERESULT_WRONGTYPE, name, "holds deep samples. Save it as a flat picture.");
  const bool floats = spec.format.is_floating_point();
  const auto pixelCount = static_cast<std::uint64_t>(spec.width) * static_cast<std::uint64_t>(spec.height);
  const std::uint64_t bytes = pixelCount * 4 * (floats ? sizeof(float) : 1);
  if (spec.width > maxPictureSide || spec.height > maxPictureSide ||
      bytes > static_cast<std::uint64_t>(PTRDIFF_MAX) || !fitsMemory(static_cast<std::size_t>(bytes)))
    return failure(IMAGERESULT_OUTOFMEMORY, name,
                   "is too large: " + std::to_string(spec.width) + " x " + std::to_string(spec.height) +
                       " pixels. At most 32768 a side are possible, and they must fit into memory.");
  const Channels channels = findChannels(spec);
  const std::string_view kind = reader.format_name();
  const bool multiplied = channels.index[3] >= 0 && (kind == "openexr" || kind == "tiff") &&
                          spec.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0;
  auto picture = std::make_shared<DecodedPicture>();
  picture->width = spec.width;
  picture->height = spec.height;
  picture->hasAlpha = channels.index[3] >= 0;
  const bool read = floats ? readPixels<float>(reader, spec, channels, multiplied, OIIO::TypeDesc::FLOAT,
                                               1.0f, picture->floats)
                           : readPixels<unsigned char>(reader, spec, channels, multiplied,
                                                       OIIO::TypeDesc::UINT8, 255, picture->bytes);
  if (!read) return damaged(name, &reader);
  return {IMAGERESULT_OK, {}, std::move(picture)};
}

LoadedPicture decode(std::span<const std::byte> file, const std::string& name) {
  const char* kind = pictureKind(file, name);
  if (!kind)
    return failure(
        IMAGERESULT_WRONGTYPE, name,
        "is no picture of a known kind. Use PNG, JPEG, TIFF, OpenEXR, HDR, BMP, GIF, TGA or WebP.");
  if (!plausiblePicture(kind, file)) return damaged(name, nullptr);
  const ImageLibraryUse use;
  OIIO::Filesystem::IOMemReader memory(file.data(), file.size());
  const std::unique_ptr<OIIO::ImageInput> reader = OIIO::ImageInput::create(kind);
  if (!reader) {
    OIIO::geterror();
    return failure(IMAGERESULT_WRONGTYPE, name,
                   "cannot be read: the image library was built without " + std::string(kind) + ".");
  }
  reader->threads(1);
  OIIO::ImageSpec spec, wish;
  wish.attribute("oiio:UnassociatedAlpha", 1); // colours as they are, also where alpha is 0
  if (!reader->set_ioproxy(&memory) || !reader->open(std::string("picture.") + kind, spec, wish))
    return damaged(name, reader.get());
  LoadedPicture loaded = readPicture(*reader, spec, name);
  reader->close();
  return loaded;
}

} // namespace

LoadedPicture loadPictureBytes(std::span<const std::byte> file, const std::string& name) noexcept {
  try {
    return decode(file, name);
  } catch (const std::bad_alloc&) {
    return {IMAGERESULT_OUTOFMEMORY, "Not enough memory for a picture. Use a smaller one.", nullptr, true};
  } catch (...) { // the image library's own
    return {IMAGERESULT_FILESTRUCTURE, "A picture is damaged. Save it again from the program that made it.",
            nullptr};
  }
}

std::shared_ptr<const DecodedPicture> decodePicture(std::span<const std::byte> file, const std::string& name,
                                                    std::string* error) {
  LoadedPicture loaded = loadPictureBytes(file, name);
  if (error) *error = std::move(loaded.error);
  return std::move(loaded.picture);
}

} // namespace host
