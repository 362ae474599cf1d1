// OpenEXR files with the film's layers, through the format's own library, without the library's threads.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "display_transform.h"
#include "film.h"
#include "layer_table.h"
#include "picture_codec.h"
#include "picture_formats.h"
#include "view_transform.h"

namespace host {
namespace {

constexpr int noThreads = 0;
constexpr std::string_view compressions[] = {"none",  "rle", "zips", "zip",  "piz",
                                             "pxr24", "b44", "b44a", "dwaa", "dwab"};

class MemoryOutput : public Imf::OStream {
 public:
  MemoryOutput() : OStream("picture") {}
  void write(const char from[], int count) override {
    const std::uint64_t end = position_ + static_cast<std::uint64_t>(std::max(0, count));
    if (end > bytes.size()) bytes.resize(end);
    std::memcpy(bytes.data() + position_, from, end - position_);
    position_ = end;
  }
  std::uint64_t tellp() override { return position_; }
  void seekp(std::uint64_t position) override { position_ = position; }

  FileBytes bytes;

 private:
  std::uint64_t position_ = 0;
};

/// A pixel's linear light, with alpha multiplied by it.
void linearPixel(const BaseBitmap& bitmap, const Film* film, bool alpha, LONG x, LONG y, float rgba[4]) {
  if (film) film->getShown(x, y, rgba);
  const bool rendered = film && agrees(bitmap, *film->view(), x, y, rgba);
  if (rendered && !alpha) return;
  if (rendered) {
    film->getStraight(x, y, rgba);
  } else {
    UWORD r, g, b;
    bitmap.GetPixel(x, y, &r, &g, &b);
    rgba[0] = fromDisplay(static_cast<unsigned char>(r));
    rgba[1] = fromDisplay(static_cast<unsigned char>(g));
    rgba[2] = fromDisplay(static_cast<unsigned char>(b));
    rgba[3] = static_cast<float>(bitmap.GetAlpha(x, y)) / 255.0f;
  }
  for (int c = 0; c < 3 && alpha; ++c)
    rgba[c] *= rgba[3];
}

/// Values of one type, as many a pixel as names.
struct Channels {
  std::vector<std::string> names;
  std::vector<float> floats;
  bool color = true;
  std::vector<half> halves{}; // instead of the floats

  std::size_t valueBytes() const { return halves.empty() ? sizeof(float) : sizeof(half); }
  char* data() {
    return halves.empty() ? reinterpret_cast<char*>(floats.data()) : reinterpret_cast<char*>(halves.data());
  }
  void makeHalf() {
    const auto largest = static_cast<float>(HALF_MAX);
    halves.reserve(floats.size());
    for (const float value : floats) // infinities and NaN stay
      halves.emplace_back(std::isfinite(value) ? std::clamp(value, -largest, largest) : value);
    floats = {};
  }
};

Channels pictureChannels(const FilterJob& job, const Film* film) {
  Channels made{{"R", "G", "B"}, {}};
  if (job.alpha) made.names.emplace_back("A");
  const LONG width = job.bitmap.GetBw(), height = job.bitmap.GetBh();
  made.floats.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * made.names.size());
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      float rgba[4] = {};
      linearPixel(job.bitmap, film, job.alpha, x, y, rgba);
      made.floats.insert(made.floats.end(), rgba, rgba + made.names.size());
    }
  return made;
}

template <class Get>
Channels layerChannels(const Film& film, const std::string& name, const std::string& letters, Get&& get) {
  Channels made;
  for (const char letter : letters)
    made.names.push_back(name + "." + letter);
  const std::size_t pixels = film.pixelCount(), count = letters.size();
  made.floats.resize(pixels * count);
  for (std::size_t pixel = 0; pixel < pixels; ++pixel)
    get(pixel, &made.floats[pixel * count]);
  return made;
}

void addLayers(const Film& film, std::vector<Channels>& all) {
  for (const FilmLayerPtr& layer : film.layers()) {
    if (layer->internal()) continue;
    all.push_back(layerChannels(film, layer->name(), layer->channels(),
                                [&](std::size_t pixel, float* to) { layer->get(pixel, to); }));
    all.back().color = isColorLayer(layer->name());
  }
  if (!film.findLayer(film_layers::denoised)) return;
  const auto width = static_cast<std::size_t>(film.width());
  all.push_back(layerChannels(film, "beauty", "RGB", [&](std::size_t pixel, float* to) {
    float rgba[4];
    film.getColor(static_cast<int>(pixel % width), static_cast<int>(pixel / width), rgba);
    std::copy_n(rgba, 3, to);
  }));
}

struct Storage {
  bool half = false;
  Imf::Compression compression = Imf::ZIP_COMPRESSION;
  /// Whether 32-bit floats come back changed.
  bool damagesNumbers() const {
    return compression == Imf::PXR24_COMPRESSION || compression == Imf::DWAA_COMPRESSION ||
           compression == Imf::DWAB_COMPRESSION;
  }
};

Storage storageOf(const FilterJob& job) {
  Storage storage;
  if (!job.options) return storage;
  storage.half = job.options->GetBool(exrSaverHalf, FALSE) != FALSE;
  const LONG wanted = job.options->GetLong(exrSaverCompression, Imf::ZIP_COMPRESSION);
  if (wanted >= 0 && wanted < static_cast<LONG>(std::size(compressions)))
    storage.compression = static_cast<Imf::Compression>(wanted);
  return storage;
}

bool wantsSamples(const FilterJob& job) {
  return job.options && job.options->GetBool(exrSaverSamples, FALSE);
}

/// Numbers of 32 bits, whatever becomes of the colours.
void addSamples(const FilmSamples& samples, std::vector<Channels>& all) {
  Channels made{{}, samples.data, false};
  for (int i = 0; i < samples.values; ++i) {
    const std::string number = std::to_string(i);
    made.names.push_back(samplesChannel + std::string(3 - std::min<std::size_t>(3, number.size()), '0') +
                         number);
  }
  all.push_back(std::move(made));
}

/// A part of the file: a header and the channels that it lists.
struct Part {
  Imf::Header header;
  std::vector<Channels*> groups;
};

Imf::FrameBuffer bufferOf(const Part& part) {
  const Imath::Box2i window = part.header.dataWindow();
  const auto width = static_cast<std::size_t>(window.max.x) + 1;
  Imf::FrameBuffer buffer;
  for (Channels* group : part.groups)
    for (std::size_t c = 0; c < group->names.size(); ++c) {
      const std::size_t value = group->valueBytes(), pixel = group->names.size() * value;
      buffer.insert(group->names[c], Imf::Slice(value == sizeof(half) ? Imf::HALF : Imf::FLOAT,
                                                group->data() + c * value, pixel, pixel * width));
    }
  return buffer;
}

/// `File`: of the library, with one part or for one part of many.
template <class File>
void writePixels(File&& file, const Part& part) {
  file.setFrameBuffer(bufferOf(part));
  file.writePixels(part.header.dataWindow().max.y + 1);
}

void write(MemoryOutput& memory, std::vector<Part>& parts) {
  std::vector<Imf::Header> headers;
  for (Part& part : parts) {
    for (const Channels* group : part.groups)
      for (const std::string& name : group->names)
        part.header.channels().insert(name, Imf::Channel(group->halves.empty() ? Imf::FLOAT : Imf::HALF));
    headers.push_back(part.header);
  }
  if (parts.size() == 1) return writePixels(Imf::OutputFile(memory, headers[0], noThreads), parts[0]);
  Imf::MultiPartOutputFile file(memory, headers.data(), static_cast<int>(headers.size()), false, noThreads);
  for (std::size_t i = 0; i < parts.size(); ++i)
    writePixels(Imf::OutputPart(file, static_cast<int>(i)), parts[i]);
}

/// Numbers get a part of their own where the compression would change them.
std::vector<Part> partsOf(const FilterJob& job, const Film* film, const FilmSamples* samples,
                          const Storage& storage, std::vector<Channels>& all) {
  Imf::Header header(job.bitmap.GetBw(), job.bitmap.GetBh());
  header.compression() = storage.compression;
  header.insert("Software", Imf::StringAttribute(writingProgram));
  if (film)
    for (const auto& [key, text] : film->notes())
      header.insert(key, Imf::StringAttribute(text));
  if (samples) header.insert(samplesNote, Imf::StringAttribute(samples->render));
  for (const auto& [key, text] : originOf(job))
    header.insert("lumenara:" + key, Imf::StringAttribute(text));
  std::vector<Part> parts{{header, {}}};
  const bool split = storage.damagesNumbers() &&
                     std::any_of(all.begin(), all.end(), [](const Channels& group) { return !group.color; });
  if (split) {
    parts.push_back(parts[0]);
    parts[1].header.compression() = Imf::ZIP_COMPRESSION;
    parts[0].header.setName("color");
    parts[1].header.setName("numbers");
    for (Part& part : parts)
      part.header.setType(Imf::SCANLINEIMAGE);
  }
  for (Channels& group : all)
    parts[split && !group.color ? 1 : 0].groups.push_back(&group);
  return parts;
}

} // namespace

std::span<const std::string_view> exrCompressions() noexcept {
  return compressions;
}

FileBytes encodeExr(const FilterJob& job) {
  const Storage storage = storageOf(job);
  const std::shared_ptr<const Film> film = filmOf(job.bitmap);
  std::vector<Channels> all{pictureChannels(job, film.get())};
  if (film) addLayers(*film, all);
  const FilmSamplesPtr samples = film && wantsSamples(job) ? film->samples() : nullptr;
  if (samples) addSamples(*samples, all);
  for (Channels& group : all)
    if (storage.half && group.color) group.makeHalf();
  std::vector<Part> parts = partsOf(job, film.get(), samples.get(), storage, all);
  MemoryOutput memory;
  try {
    write(memory, parts);
  } catch (const Iex::BaseExc& error) {
    throw FilterError("could not be encoded (" + std::string(error.what()) + ")");
  }
  return std::move(memory.bytes);
}

} // namespace host
