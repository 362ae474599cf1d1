// Pictures of all formats decoded by eight threads at once, with the same pixels on each.
// LUMENARA_PROOF_PICTURES sets their number; the default keeps the tests short.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>

#include "picture_decode.h"
#include "picture_files.h"
#include "picture_fixture.h"
#include "picture_formats.h"

using namespace picture_files;

namespace {

struct File {
  std::string name;
  Bytes bytes;
  std::size_t fingerprint = 0; // of its pixels, 0 when it is refused
};

std::size_t fingerprint(const Bytes& bytes, const std::string& name) {
  const auto picture = host::decodePicture(bytes, name, nullptr);
  if (!picture) return 0;
  std::size_t sum = static_cast<std::size_t>(picture->width) * 65537 + 1;
  const auto add = [&sum](const auto& values) {
    for (const auto value : values)
      sum = sum * 1099511628211u + static_cast<std::size_t>(static_cast<std::int64_t>(value));
  };
  add(picture->bytes);
  add(picture->words);
  for (const float value : picture->floats)
    sum = sum * 1099511628211u + static_cast<std::size_t>(static_cast<std::int64_t>(value * 1000));
  return sum;
}

Values ramp(std::size_t count) {
  Values values(count);
  for (std::size_t i = 0; i < count; ++i)
    values[i] = static_cast<unsigned char>(i * 37 + i / 50);
  return values;
}

Bytes textFile(std::string header, std::size_t pixels) {
  const Values data = ramp(pixels);
  header.append(data.begin(), data.end());
  return picture_fixture::bytesFrom(header);
}

void addWritten(std::vector<File>& files, LONG width, LONG height) {
  picture_fixture::Folder folder;
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(width, height, 32), IMAGERESULT_OK);
  picture_fixture::fillPattern(*bitmap);
  for (const host::PictureFileFormat& format : host::pictureFileFormats()) {
    if (!format.write || !format.read) continue;
    const Filename name = folder.file("a");
    ASSERT_EQ(bitmap->Save(name, format.filter, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK) << format.name;
    files.push_back({format.name, picture_fixture::bytesOf(name)});
  }
}

void addMade(std::vector<File>& files, unsigned width, unsigned height) {
  PngParts png;
  png.width = width;
  png.height = height;
  png.depth = 16;
  png.interlaced = width % 2 == 0;
  png.profile = rgbProfile(1.8);
  files.push_back({"16 bits", makePng(png, ramp(std::size_t{width} * height * 6))});
  JpegParts jpeg;
  jpeg.width = width;
  jpeg.height = height;
  jpeg.profile = rgbProfile(1.0);
  jpeg.orientation = 6;
  jpeg.progressive = height % 2 == 0;
  files.push_back({"profile", makeJpeg(jpeg, ramp(std::size_t{width} * height * 3))});
  jpeg.channels = 4;
  jpeg.profile = inkProfile();
  files.push_back({"inks", makeJpeg(jpeg, ramp(std::size_t{width} * height * 4))});
  jpeg.profile = greyProfile(1.0); // the wrong one
  files.push_back({"refused profile", makeJpeg(jpeg, ramp(std::size_t{width} * height * 4))});
  files.push_back({"animation", makeAnimation(width, height, ramp(std::size_t{width} * height * 4),
                                              Values(std::size_t{width} * height * 4, 99))});
  files.push_back({"packed floats", makeTiff("wb8", [&](TIFF* tiff) {
                     setTags(tiff, width, height, 3, 32, SAMPLEFORMAT_IEEEFP, PHOTOMETRIC_RGB);
                     TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
                     const std::vector<float> row(std::size_t{width} * 3 * height, 0.5f);
                     writeRows(tiff, height, row.data(), std::size_t{width} * 12);
                   })});
  const std::string size = std::to_string(width) + " " + std::to_string(height);
  files.push_back({"pnm", textFile("P6\n" + size + "\n255\n", std::size_t{width} * height * 3)});
  files.push_back({"hdr", textFile("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(height) +
                                       " +X " + std::to_string(width) + "\n",
                                   std::size_t{width} * height * 4)});
  std::string tga("\0\0\2\0\0\0\0\0\0\0\0\0", 12);
  for (const unsigned side : {width, height})
    tga += {static_cast<char>(side & 255), static_cast<char>(side >> 8)};
  tga += {24, 0};
  files.push_back({"a.tga", textFile(tga, std::size_t{width} * height * 3)});
}

/// Each file again, cut or with changed bytes: refused, or decoded the same way by every thread.
void addDamaged(std::vector<File>& files, std::mt19937& random) {
  for (std::size_t i = 0, count = files.size(); i < count; ++i) {
    File cut = files[i], changed = files[i];
    cut.bytes.resize(cut.bytes.size() * (random() % 90 + 5) / 100);
    // Rare formats keep their headers: the library behind them does not check everything.
    const std::size_t from = std::min<std::size_t>(changed.bytes.size() - 1, 60);
    for (int flips = 0; flips < 5; ++flips)
      changed.bytes[from + random() % (changed.bytes.size() - from)] ^= std::byte{0x11};
    files.push_back(std::move(cut));
    files.push_back(std::move(changed));
  }
}

long wantedPictures() {
  const char* text = std::getenv("LUMENARA_PROOF_PICTURES");
  return text ? std::atol(text) : 600;
}

} // namespace

TEST(CodecThreads, EightThreadsDecodeEveryFormatAtOnce) {
  std::vector<File> files;
  std::mt19937 random(2026);
  for (const unsigned side : {1u, 7u, 33u, 130u}) {
    addWritten(files, static_cast<LONG>(side), static_cast<LONG>(side / 2 + 1));
    addMade(files, side, side / 3 + 2);
  }
  addDamaged(files, random);
  // The threads are the first to decode anything, so that they all take part in one-time initialisation.
  const long wanted = wantedPictures();
  std::vector<std::atomic<std::size_t>> seen(files.size());
  std::atomic<long> next{0}, different{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&] {
      for (long at; (at = next++) < wanted;) {
        const std::size_t index = static_cast<std::size_t>(at) % files.size();
        const std::size_t found = fingerprint(files[index].bytes, files[index].name) + 2;
        std::size_t before = 0;
        if (!seen[index].compare_exchange_strong(before, found) && before != found) ++different;
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(different, 0);
  std::size_t pictures = 0;
  for (std::size_t i = 0; i < files.size(); ++i)
    pictures += seen[i] > 2;
  EXPECT_GT(pictures, std::min<std::size_t>(files.size() / 3, static_cast<std::size_t>(wanted) / 3));
}
