#include "picture_formats.h"

#include <algorithm>

#include "file_bytes.h"
#include "picture_codec.h"

namespace host {
namespace {

using namespace std::string_view_literals;

bool startsWithOneOf(PictureBytes file, std::initializer_list<std::string_view> marks) {
  return std::any_of(marks.begin(), marks.end(),
                     [text = textOf(file)](auto mark) { return text.starts_with(mark); });
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameSuffix(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

bool isPng(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"\x89PNG\r\n\x1a\n"sv});
}
bool isJpeg(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"\xff\xd8\xff"sv});
}
bool isTiff(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv});
}
bool isExr(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"\x76\x2f\x31\x01"sv});
}
bool isHdr(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"#?RADIANCE"sv, "#?RGBE"sv});
}
bool isGif(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"GIF87a"sv, "GIF89a"sv});
}
bool isWebp(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"RIFF"sv}) &&
         textOf(file).substr(std::min<std::size_t>(8, file.size())).starts_with("WEBP"sv);
}
bool isPsd(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"8BPS"sv});
}
bool isBmp(PictureBytes file, const std::string&) {
  return startsWithOneOf(file, {"BM"sv});
}
bool isPnm(PictureBytes file, const std::string&) {
  const std::string_view text = textOf(file);
  return text.size() > 2 && text[0] == 'P' && text[1] >= '1' && text[1] <= '6' &&
         " \t\r\n#"sv.find(text[2]) != std::string_view::npos;
}
/// Recognised by the end of the file; older files have only their suffix.
bool isTga(PictureBytes file, const std::string& name) {
  if (textOf(file).ends_with("TRUEVISION-XFILE.\0"sv)) return true;
  return name.size() >= 4 && sameSuffix(std::string_view(name).substr(name.size() - 4), ".tga");
}
/// A zip file. Only the batch program looks for a picture inside.
bool isNever(PictureBytes, const std::string&) {
  return false;
}

constexpr auto none = WriterOption::none, quality = WriterOption::quality;

// TGA comes last: a name alone may make a file one.
constexpr PictureFileFormat formats[] = {
    {"PNG", {"png"}, FILTER_PNG, true, "8, 16", none, isPng, plausiblePng, readPng, encodePng},
    {"TIFF", {"tif", "tiff"}, FILTER_TIF, true, "8, 16, float", none, isTiff, nullptr, readTiff, encodeTiff},
    {"JPEG",
     {"jpg", "jpeg", "jpe"},
     FILTER_JPG,
     false,
     "8",
     quality,
     isJpeg,
     plausibleJpeg,
     readJpeg,
     encodeJpeg},
    {"OpenEXR", {"exr"}, FILTER_EXR, true, "float", none, isExr, plausibleExr, readExr, encodeExr},
    {"WebP", {"webp"}, filterWebp, true, "8", quality, isWebp, nullptr, readWebp, encodeWebp},
    {"BMP", {"bmp"}, FILTER_BMP, false, "8", none, isBmp, plausibleBmp, readBmp, encodeBmp},
    {"PSD", {"psd"}, FILTER_PSD, true, "8, 16, float", none, isPsd, nullptr, readPsd, encodePsd},
    {"OpenRaster", {"b3d"}, FILTER_B3D, true, "8", none, isNever, nullptr, nullptr, encodeOpenRaster},
    {"HDR", {"hdr"}, 0, false, "float", none, isHdr, nullptr, readHdr, nullptr},
    {"GIF", {"gif"}, 0, false, "8", none, isGif, nullptr, readGif, nullptr},
    {"PNM", {"pnm", "ppm", "pgm", "pbm"}, 0, false, "8, 16", none, isPnm, nullptr, readPnm, nullptr},
    {"TGA", {"tga"}, 0, false, "8", none, isTga, plausibleTga, readTga, nullptr},
};

template <class Wanted>
std::string namesOf(Wanted wanted) {
  std::vector<const char*> names;
  for (const PictureFileFormat& format : formats)
    if (wanted(format)) names.push_back(format.name);
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i)
    text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + std::string(names[i]);
  return text;
}

} // namespace

std::span<const PictureFileFormat> pictureFileFormats() noexcept {
  return formats;
}

const PictureFileFormat* recognisePicture(PictureBytes file, const std::string& name) {
  for (const PictureFileFormat& format : formats)
    if (format.recognises(file, name)) return &format;
  return nullptr;
}

const PictureFileFormat* formatOfFilter(LONG filter) noexcept {
  for (const PictureFileFormat& format : formats)
    if (filter != 0 && format.filter == filter) return &format;
  return nullptr;
}

const PictureFileFormat* formatOfSuffix(std::string_view suffix) noexcept {
  for (const PictureFileFormat& format : formats)
    for (const char* known : format.suffixes)
      if (known && format.write && sameSuffix(known, suffix)) return &format;
  return nullptr;
}

bool holdsDeep(LONG filter) noexcept {
  return filter == FILTER_PNG;
}

bool isPictureSuffix(std::string_view suffix) noexcept {
  for (const PictureFileFormat& format : formats)
    for (const char* known : format.suffixes)
      if (known && format.read && sameSuffix(known, suffix)) return true;
  return false;
}

std::vector<unsigned char> encodePicture(const BaseBitmap& bitmap, LONG filter,
                                         const BaseContainer* options) {
  return formatOfFilter(filter)->write({bitmap, false, options});
}

std::string namesOfReadFormats() {
  return namesOf([](const PictureFileFormat& format) { return format.read != nullptr; });
}

std::string namesOfWrittenFormats() {
  return namesOf([](const PictureFileFormat& format) { return format.write != nullptr; });
}

} // namespace host
