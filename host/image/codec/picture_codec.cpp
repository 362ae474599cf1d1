#include "picture_codec.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bitmap_data.h"
#include "file_bytes.h"
#include "view_transform.h"
#include "viewed_bitmap.h"

namespace host {
namespace {

constexpr std::uint16_t orientationTag = 0x0112, softwareTag = 0x0131;
constexpr std::uint16_t textType = 2, shortType = 3;
constexpr std::size_t entryBytes = 12;

/// Numbers of an EXIF block, which says its byte order itself.
class ExifNumbers {
 public:
  explicit ExifNumbers(PictureBytes bytes)
      : bytes_(bytes), order_(textOf(bytes).starts_with('I') ? std::endian::little : std::endian::big) {}
  bool whole() const {
    const std::string_view mark = textOf(bytes_).substr(0, 2);
    return bytes_.size() >= 8 && (mark == "II" || mark == "MM") && number(2, 2) == 42;
  }
  /// 0 where the block ends before.
  std::uint32_t number(std::size_t offset, std::size_t count) const {
    return numberAt(bytes_, offset, count, order_);
  }

 private:
  PictureBytes bytes_;
  std::endian order_;
};

} // namespace

void startPicture(DecodedPicture& picture, std::uint64_t width, std::uint64_t height,
                  std::size_t valueBytes) {
  if (width == 0 || height == 0) throw DamagedPicture("it has no pixels");
  constexpr auto most = static_cast<std::uint64_t>(maxPictureSide);
  if (width > most || height > most || !fitsMemory(width * height * 4 * valueBytes))
    throw PictureError(IMAGERESULT_OUTOFMEMORY,
                       "is too large: " + std::to_string(width) + " x " + std::to_string(height) +
                           " pixels. At most 32768 a side are possible, and they must fit into memory.");
  picture.width = static_cast<int>(width);
  picture.height = static_cast<int>(height);
}

int exifOrientation(PictureBytes exif) noexcept {
  const ExifNumbers block(exif);
  if (!block.whole()) return 1;
  const std::size_t table = block.number(4, 4), count = block.number(table, 2);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = table + 2 + i * entryBytes;
    if (block.number(entry, 2) != orientationTag || block.number(entry + 2, 2) != shortType) continue;
    const std::uint32_t value = block.number(entry + 8, 2);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
  }
  return 1;
}

std::vector<unsigned char> exifSoftware() {
  constexpr std::size_t textAt = 8 + 2 + entryBytes + 4;
  std::vector<unsigned char> block;
  const auto add = [&block](std::size_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      block.push_back(static_cast<unsigned char>(value >> (8 * i)));
  };
  block.assign({'I', 'I'});
  add(42, 2);
  add(8, 4); // the table begins here
  add(1, 2);
  add(softwareTag, 2);
  add(textType, 2);
  add(sizeof writingProgram, 4);
  add(textAt, 4);
  add(0, 4); // no further table
  block.insert(block.end(), std::begin(writingProgram), std::end(writingProgram));
  return block;
}

namespace {

// A rendered bitmap shows a pixel that surfaces cover in part darker than they are: over black. Files with
// alpha hold the surfaces' own colour.
void straighten(const BaseBitmap& bitmap, const Film& film, const ViewTransform& view, LONG x, LONG y,
                UWORD& r, UWORD& g, UWORD& b) {
  float shown[4], straight[4];
  film.getShown(x, y, shown);
  if (shown[3] <= 0 || shown[3] >= 1 || !agrees(bitmap, view, x, y, shown)) return;
  film.getStraight(x, y, straight);
  unsigned char codes[3];
  view.show(straight, codes, 1);
  r = codes[0];
  g = codes[1];
  b = codes[2];
}

/// The film's, unless the bitmap's was drawn over.
std::uint16_t alphaWord(const BaseBitmap& bitmap, const Film* film, LONG x, LONG y) {
  const auto code = static_cast<std::uint16_t>(bitmap.GetAlpha(x, y));
  if (!film || !film->holds(x, y)) return static_cast<std::uint16_t>(code * 257);
  float rgba[4];
  film->getColor(x, y, rgba);
  const float alpha = std::clamp(rgba[3], 0.0f, 1.0f);
  return std::lround(alpha * 255) == code ? static_cast<std::uint16_t>(std::lround(alpha * 65535))
                                          : static_cast<std::uint16_t>(code * 257);
}

} // namespace

FileBytes pixelBytes(const FilterJob& job) {
  const BaseBitmap& bitmap = job.bitmap;
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh();
  FileBytes bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * (job.alpha ? 4 : 3));
  unsigned char* out = bytes.data();
  const std::shared_ptr<const Film> film = job.alpha ? filmOf(bitmap) : nullptr;
  const std::shared_ptr<const ViewTransform> view = film ? film->view() : nullptr;
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      if (film) straighten(bitmap, *film, *view, x, y, r, g, b);
      *out++ = static_cast<unsigned char>(r);
      *out++ = static_cast<unsigned char>(g);
      *out++ = static_cast<unsigned char>(b);
      if (job.alpha) *out++ = static_cast<unsigned char>(bitmap.GetAlpha(x, y));
    }
  return bytes;
}

std::vector<std::uint16_t> pixelWords(const FilterJob& job) {
  const BaseBitmap& bitmap = job.bitmap;
  const auto width = static_cast<std::size_t>(bitmap.GetBw());
  const std::size_t channels = job.alpha ? 4 : 3;
  const std::shared_ptr<const Film> film = filmOf(bitmap);
  const std::shared_ptr<const ViewTransform> view = film ? film->view() : nullptr;
  const ViewTransform plain;
  ViewedRows rows(bitmap, job.alpha);
  if (!job.deep->isPlain()) rows.keepLight(*job.deep);
  std::vector<std::uint16_t> words(width * static_cast<std::size_t>(bitmap.GetBh()) * channels);
  std::vector<std::uint16_t> row(3 * width);
  std::uint16_t* out = words.data();
  for (LONG y = 0; y < bitmap.GetBh(); ++y) {
    rows.read(view ? *view : plain, y, row.data());
    for (std::size_t x = 0; x < width; ++x) {
      out = std::copy_n(row.data() + 3 * x, 3, out);
      if (job.alpha) *out++ = alphaWord(bitmap, film.get(), static_cast<LONG>(x), y);
    }
  }
  return words;
}

} // namespace host
