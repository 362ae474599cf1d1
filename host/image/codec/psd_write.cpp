// Writing of PSD, by Adobe's published "Photoshop File Formats": eight bits a channel, rows packed by
// PackBits. A transparent picture is one layer beside the flat picture, which lies on white.
#include <algorithm>
#include <array>
#include <string_view>

#include "picture_codec.h"

namespace host {
namespace {

/// Numbers have the highest byte first.
void add(FileBytes& file, std::size_t value, int bytes) {
  while (bytes-- > 0)
    file.push_back(static_cast<unsigned char>(value >> (8 * bytes)));
}

void add(FileBytes& file, std::string_view text) {
  file.insert(file.end(), text.begin(), text.end());
}

void append(FileBytes& file, const FileBytes& more) {
  file.insert(file.end(), more.begin(), more.end());
}

/// Packs a row: runs of three and more equal bytes as a count and the byte, others as they are.
void pack(const FileBytes& row, FileBytes& to) {
  constexpr std::size_t most = 128;
  const auto runAt = [&row](std::size_t at) {
    std::size_t end = at + 1;
    while (end < row.size() && end - at < most && row[end] == row[at])
      ++end;
    return end - at;
  };
  for (std::size_t at = 0; at < row.size();) {
    if (const std::size_t run = runAt(at); run >= 3) {
      add(to, 257 - run, 1);
      to.push_back(row[at]);
      at += run;
      continue;
    }
    std::size_t end = at + 1;
    while (end < row.size() && end - at < most && runAt(end) < 3)
      ++end;
    add(to, end - at - 1, 1);
    to.insert(to.end(), row.begin() + static_cast<std::ptrdiff_t>(at),
              row.begin() + static_cast<std::ptrdiff_t>(end));
    at = end;
  }
}

/// The packed rows of one channel and their lengths.
struct Plane {
  FileBytes lengths, rows;
};

class Picture {
 public:
  explicit Picture(const FilterJob& job)
      : width_(static_cast<std::size_t>(job.bitmap.GetBw())),
        height_(static_cast<std::size_t>(job.bitmap.GetBh())), channels_(job.alpha ? 4 : 3),
        pixels_(pixelBytes(job)) {}

  FileBytes file() const {
    FileBytes file;
    add(file, "8BPS");
    add(file, 1, 2); // version
    add(file, 0, 6);
    add(file, channels_, 2);
    add(file, height_, 4);
    add(file, width_, 4);
    add(file, 8, 2); // bits
    add(file, 3, 2); // red, green and blue
    add(file, 0, 4); // no palette
    add(file, 0, 4); // no resources
    const FileBytes layers = channels_ == 4 ? layer() : FileBytes();
    add(file, layers.size(), 4);
    append(file, layers);
    addFlat(file);
    return file;
  }

 private:
  template <class Value>
  Plane plane(Value value) const {
    Plane plane;
    FileBytes row(width_);
    for (std::size_t y = 0; y < height_; ++y) {
      const unsigned char* from = pixels_.data() + y * width_ * channels_;
      for (std::size_t x = 0; x < width_; ++x, from += channels_)
        row[x] = value(from);
      const std::size_t before = plane.rows.size();
      pack(row, plane.rows);
      add(plane.lengths, plane.rows.size() - before, 2);
    }
    return plane;
  }

  /// One layer with the straight colours, and the number of layers: negative, as the flat picture has alpha.
  FileBytes layer() const {
    constexpr std::array<std::size_t, 4> order{3, 0, 1, 2}; // alpha first, with the number -1
    FileBytes info, planes;
    add(info, 0xffff, 2);
    add(info, 0, 8); // top, left
    add(info, height_, 4);
    add(info, width_, 4);
    add(info, order.size(), 2);
    for (const std::size_t channel : order) {
      const Plane packed = plane([channel](const unsigned char* pixel) { return pixel[channel]; });
      add(info, channel == 3 ? 0xffff : channel, 2);
      add(info, 2 + packed.lengths.size() + packed.rows.size(), 4);
      add(planes, 1, 2);
      append(planes, packed.lengths);
      append(planes, packed.rows);
    }
    add(info, "8BIMnorm");
    add(info, 255, 1); // opacity
    add(info, 0, 3);
    add(info, 12, 4); // no mask, no ranges, a name padded to four bytes
    add(info, 0, 8);
    add(info, "\2L1");
    add(info, 0, 1);
    append(info, planes);
    if (info.size() % 2 != 0) info.push_back(0);
    FileBytes section;
    add(section, info.size(), 4);
    append(section, info);
    add(section, 0, 4); // no global mask
    return section;
  }

  void addFlat(FileBytes& file) const {
    const bool alpha = channels_ == 4;
    FileBytes rows;
    add(file, 1, 2); // PackBits
    for (std::size_t channel = 0; channel < channels_; ++channel) {
      const Plane packed = plane([channel, alpha](const unsigned char* pixel) {
        if (!alpha || channel == 3) return pixel[channel];
        return static_cast<unsigned char>((pixel[channel] * pixel[3] + 255 * (255 - pixel[3]) + 127) / 255);
      });
      append(file, packed.lengths);
      append(rows, packed.rows);
    }
    append(file, rows);
  }

  std::size_t width_, height_, channels_;
  FileBytes pixels_;
};

} // namespace

FileBytes encodePsd(const FilterJob& job) {
  constexpr LONG largestSide = 30000; // the limit that the format's description gives
  if (job.bitmap.GetBw() > largestSide || job.bitmap.GetBh() > largestSide)
    throw FilterError("was not saved: PSD holds at most 30000 pixels a side");
  FileBytes file = Picture(job).file();
  if (file.size() > 0xffffffff)
    throw FilterError("was not saved: PSD holds at most 4 GB. Choose PNG, TIFF or OpenEXR");
  return file;
}

} // namespace host
