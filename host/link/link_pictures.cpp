#include "link_pictures.h"

#include <algorithm>
#include <cmath>

#include "link_blocks.h"
#include "scene_file.h"

namespace host {

namespace {

constexpr std::uint64_t mostPixels = std::uint64_t{1} << 28;

// A pixel of the Radiance format: three mantissas with one exponent.
void putPixel(Bytes& to, const Float4& pixel) {
  const float most = std::max({pixel[0], pixel[1], pixel[2]});
  std::array<unsigned char, 4> code{};
  if (most > 1e-32F) {
    int exponent = 0;
    const float scale = std::frexp(most, &exponent) * 256 / most;
    for (std::size_t i = 0; i < 3; ++i)
      code[i] = static_cast<unsigned char>(std::clamp(pixel[i] * scale, 0.0F, 255.0F));
    code[3] = static_cast<unsigned char>(std::clamp(exponent + 128, 0, 255));
  }
  for (const unsigned char byte : code)
    to.push_back(static_cast<std::byte>(byte));
}

Bytes radianceFile(const std::vector<Float4>& pixels, std::uint64_t width, std::uint64_t height) {
  const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(height) + " +X " +
                           std::to_string(width) + "\n";
  Bytes file;
  file.reserve(head.size() + pixels.size() * 4);
  for (const char c : head)
    file.push_back(static_cast<std::byte>(c));
  for (const Float4& pixel : pixels)
    putPixel(file, pixel);
  return file;
}

Bytes fileOfPixels(const LinkFrame& frame, std::vector<std::string>& notes, const std::string& name) {
  const std::uint64_t width = sizeIn(frame.json, "width"), height = sizeIn(frame.json, "height");
  const auto pixels = LinkBlocks(frame).read<Float4>("pixels");
  if (width == 0 || height == 0 || width > mostPixels || height > mostPixels / width ||
      width * height != pixels.size())
    throw LinkError("The picture \"" + name + "\" has " + std::to_string(pixels.size()) +
                    " pixels, which is not its width times its height.");
  if (std::any_of(pixels.begin(), pixels.end(), [](const Float4& pixel) { return pixel[3] < 1; }))
    notes.push_back("The transparency of the picture \"" + name + "\" is not shown; send it as a file.");
  return radianceFile(pixels, width, height);
}

} // namespace

PicturePtr readLinkPicture(const LinkFrame& frame, std::vector<std::string>& notes) {
  const std::string path = textIn(frame.json, "path");
  std::string name = textIn(frame.json, "name");
  if (name.empty()) name = textIn(frame.json, "key");
  if (!path.empty()) {
    PicturePtr picture = readPictureFile(Filename(String(path)));
    if (!picture || !picture->bytes)
      throw LinkError("The picture \"" + path + "\" cannot be read.",
                      "Check that the file is there and may be read by Lumenara Studio.");
    return picture;
  }
  auto picture = std::make_shared<Picture>();
  picture->name = name;
  const LinkBlocks blocks(frame);
  if (blocks.has("pixels")) {
    picture->bytes = std::make_shared<const Bytes>(fileOfPixels(frame, notes, name));
    picture->mimeType = "image/vnd.radiance";
    return picture;
  }
  const auto bytes = blocks.bytes("file");
  if (bytes.empty()) throw LinkError("The picture \"" + name + "\" has no path, no file and no pixels.");
  picture->bytes = std::make_shared<const Bytes>(bytes.begin(), bytes.end());
  return picture;
}

} // namespace host
