// GIF: the first frame, through giflib.
#include <gif_lib.h>

#include <algorithm>
#include <memory>

#include "picture_codec.h"

namespace host {
namespace {

int readBytes(GifFileType* gif, GifByteType* to, int count) {
  auto& rest = *static_cast<PictureBytes*>(gif->UserData);
  const std::size_t taken = std::min(rest.size(), static_cast<std::size_t>(std::max(count, 0)));
  std::transform(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(taken), to,
                 [](std::byte byte) { return std::to_integer<GifByteType>(byte); });
  rest = rest.subspan(taken);
  return static_cast<int>(taken);
}

struct Closer {
  void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using Gif = std::unique_ptr<GifFileType, Closer>;

[[noreturn]] void fail(const Gif& gif) {
  const char* reason = GifErrorString(gif->Error);
  throw DamagedPicture(reason ? reason : "");
}

/// Reads up to the first frame; gives the transparent index, or -1.
int findFrame(const Gif& gif) {
  int transparent = NO_TRANSPARENT_COLOR;
  for (GifRecordType kind = UNDEFINED_RECORD_TYPE; kind != IMAGE_DESC_RECORD_TYPE;) {
    if (DGifGetRecordType(gif.get(), &kind) == GIF_ERROR) fail(gif);
    if (kind == TERMINATE_RECORD_TYPE) throw DamagedPicture("it has no frame");
    if (kind != EXTENSION_RECORD_TYPE) continue;
    int code = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(gif.get(), &code, &block) == GIF_ERROR) fail(gif);
    if (GraphicsControlBlock control; block && code == GRAPHICS_EXT_FUNC_CODE &&
                                      DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
      transparent = control.TransparentColor;
    while (block)
      if (DGifGetExtensionNext(gif.get(), &block) == GIF_ERROR) fail(gif);
  }
  if (DGifGetImageDesc(gif.get()) == GIF_ERROR) fail(gif);
  return transparent;
}

/// The rows of a frame in the order of the file.
std::vector<int> rowOrder(int height, bool interlaced) {
  std::vector<int> order;
  if (interlaced) {
    constexpr int starts[] = {0, 4, 2, 1}, steps[] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass)
      for (int y = starts[pass]; y < height; y += steps[pass])
        order.push_back(y);
  } else {
    for (int y = 0; y < height; ++y)
      order.push_back(y);
  }
  return order;
}

/// The frame's rows in the order of the file. Memory grows with the rows that come.
std::vector<GifByteType> readIndices(const Gif& gif) {
  std::vector<GifByteType> indices;
  const auto width = static_cast<std::size_t>(gif->Image.Width);
  for (int y = 0; y < gif->Image.Height; ++y) {
    indices.resize(indices.size() + width);
    if (DGifGetLine(gif.get(), indices.data() + indices.size() - width, gif->Image.Width) == GIF_ERROR)
      fail(gif);
  }
  return indices;
}

/// A palette index past the palette takes the last colour; the transparent one may have no colour.
void put(const ColorMapObject& palette, int index, int transparent, unsigned char* to) {
  const GifColorType& color = palette.Colors[std::min(index, palette.ColorCount - 1)];
  to[0] = color.Red;
  to[1] = color.Green;
  to[2] = color.Blue;
  to[3] = index == transparent ? 0 : 255;
}

} // namespace

/// Pixels of the screen outside the frame are transparent.
RawPicture readGif(PictureBytes file) {
  int error = 0;
  const Gif gif(DGifOpen(&file, readBytes, &error));
  if (!gif) throw DamagedPicture(GifErrorString(error) ? GifErrorString(error) : "");
  const int transparent = findFrame(gif);
  const GifImageDesc& frame = gif->Image;
  const ColorMapObject* palette = frame.ColorMap ? frame.ColorMap : gif->SColorMap;
  if (!palette || palette->ColorCount < 1) throw DamagedPicture("it has no palette");
  const int width = std::max(gif->SWidth, frame.Left + frame.Width);
  const int height = std::max(gif->SHeight, frame.Top + frame.Height);
  if (frame.Width < 1 || frame.Height < 1) throw DamagedPicture("its frame is empty");
  constexpr std::int64_t mostAround = 1 << 26; // pixels
  if (std::int64_t{width} * height - std::int64_t{frame.Width} * frame.Height > mostAround)
    throw DamagedPicture("its frame is too small for its screen");
  RawPicture raw;
  startPicture(raw.picture, static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), 1);
  const std::vector<GifByteType> indices = readIndices(gif);
  raw.picture.bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  const GifByteType* from = indices.data();
  for (const int y : rowOrder(frame.Height, frame.Interlace)) {
    unsigned char* to = raw.picture.bytes.data() +
                        (static_cast<std::size_t>(frame.Top + y) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(frame.Left)) *
                            4;
    for (int x = 0; x < frame.Width; ++x, to += 4)
      put(*palette, *from++, transparent, to);
  }
  const std::vector<unsigned char>& pixels = raw.picture.bytes;
  for (std::size_t i = 3; i < pixels.size(); i += 4)
    if (pixels[i] < 255) raw.picture.hasAlpha = true;
  return raw;
}

} // namespace host
