// Radiance HDR: RGBE pixels, by Greg Ward, "Real Pixels", Graphics Gems II (1991), and the file format's
// public description.
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "byte_reader.h"

namespace host {
namespace {

std::string_view line(ByteReader& file) {
  constexpr std::size_t longest = 4096;
  ByteReader ahead = file;
  std::size_t length = 0;
  while (ahead.byte() != '\n')
    if (++length > longest) throw DamagedPicture("a line of its header is too long");
  const std::string_view text = textOf(file.take(length));
  file.skip(1);
  return text.ends_with('\r') ? text.substr(0, text.size() - 1) : text;
}

/// An axis of the picture's size: "-Y 480".
struct Axis {
  char name = 0;
  bool up = false; // "+"
  std::uint32_t size = 0;
};

Axis takeAxis(std::string_view& text) {
  Axis axis;
  if (text.size() < 4 || (text[0] != '+' && text[0] != '-') || text[2] != ' ')
    throw DamagedPicture("its size is missing");
  axis.up = text[0] == '+';
  axis.name = text[1];
  const auto [end, error] = std::from_chars(text.data() + 3, text.data() + text.size(), axis.size);
  if (error != std::errc()) throw DamagedPicture("its size is missing");
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (text.starts_with(' ')) text.remove_prefix(1);
  return axis;
}

/// EXIF's number for rows along the first axis and columns along the second one.
int orientationOf(const Axis& rows, const Axis& columns) {
  if (rows.name == 'Y' && columns.name == 'X') {
    if (columns.up) return rows.up ? 4 : 1;
    return rows.up ? 3 : 2;
  }
  if (rows.name != 'X' || columns.name != 'Y') throw DamagedPicture("its size is missing");
  if (rows.up) return columns.up ? 8 : 5;
  return columns.up ? 7 : 6;
}

/// A row with each component packed on its own: a count above 128 is a run.
void readComponents(ByteReader& file, std::span<std::array<unsigned char, 4>> row) {
  for (std::size_t c = 0; c < 4; ++c)
    for (std::size_t x = 0; x < row.size();) {
      const unsigned head = file.byte();
      const bool run = head > 128;
      const std::size_t count = run ? head - 128 : head;
      if (count == 0 || count > row.size() - x) throw DamagedPicture("a run leaves its row");
      const PictureBytes values = file.take(run ? 1 : count);
      for (std::size_t i = 0; i < count; ++i)
        row[x++][c] = std::to_integer<unsigned char>(values[run ? 0 : i]);
    }
}

/// A row of whole pixels, where red, green and blue of 1 repeat the pixel before.
void readPixels(ByteReader& file, std::span<std::array<unsigned char, 4>> row) {
  unsigned shift = 0;
  for (std::size_t x = 0; x < row.size();) {
    const PictureBytes bytes = file.take(4);
    std::array<unsigned char, 4> pixel;
    for (std::size_t c = 0; c < 4; ++c)
      pixel[c] = std::to_integer<unsigned char>(bytes[c]);
    if (pixel[0] != 1 || pixel[1] != 1 || pixel[2] != 1) {
      row[x++] = pixel;
      shift = 0;
      continue;
    }
    const std::size_t count = std::size_t{pixel[3]} << shift;
    if (x == 0 || count > row.size() - x) throw DamagedPicture("a run leaves its row");
    std::fill_n(row.begin() + static_cast<std::ptrdiff_t>(x), count, row[x - 1]);
    x += count;
    shift = std::min(shift + 8, 24u);
  }
}

void readRow(ByteReader& file, std::span<std::array<unsigned char, 4>> row) {
  constexpr std::size_t least = 8, most = 0x7fff;
  ByteReader ahead = file;
  if (row.size() >= least && row.size() <= most && ahead.left() >= 4 && ahead.byte() == 2 &&
      ahead.byte() == 2 && (ahead.byte() << 8 | ahead.byte()) == row.size()) {
    file.skip(4);
    readComponents(file, row);
  } else {
    readPixels(file, row);
  }
}

} // namespace

RawPicture readHdr(PictureBytes bytes) {
  ByteReader file(bytes);
  line(file); // the mark
  bool known = false;
  for (std::string_view text = line(file); !text.empty(); text = line(file))
    known = known || text.starts_with("FORMAT=32-bit_rle_rgbe");
  if (!known)
    throw PictureError(IMAGERESULT_WRONGTYPE, "has pixels of a kind that is not read. Save it as RGBE.");
  std::string_view size = line(file);
  const Axis rows = takeAxis(size), columns = takeAxis(size);
  RawPicture raw;
  raw.orientation = orientationOf(rows, columns);
  startPicture(raw.picture, columns.size, rows.size, sizeof(float));
  std::vector<std::array<unsigned char, 4>> row(columns.size);
  for (std::uint32_t y = 0; y < rows.size; ++y) {
    readRow(file, row);
    float* to = addRow(raw.picture, raw.picture.floats);
    for (const std::array<unsigned char, 4>& pixel : row) {
      const float unit = pixel[3] == 0 ? 0.0f : std::ldexp(1.0f, pixel[3] - (128 + 8));
      for (std::size_t c = 0; c < 3; ++c)
        *to++ = static_cast<float>(pixel[c]) * unit;
      *to++ = 1;
    }
  }
  return raw;
}

} // namespace host
