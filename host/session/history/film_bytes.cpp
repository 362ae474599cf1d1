// "LMFILM01", width, height, number of layers, of notes, of origin texts; the colour's values; of each layer
// its name, its channels, whether it is internal, its values; the notes and the origin as pairs of texts.
// Integers have 32 bits, a text is its length and its bytes, values are 32-bit floats.
#include "film_bytes.h"

#include <bit>
#include <cstring>
#include <optional>
#include <string>

namespace host {

namespace {

constexpr std::string_view mark = "LMFILM01";
constexpr std::uint32_t mostPixels = 32768; // a side
constexpr std::uint32_t mostLayers = 4096, mostTexts = 65536, mostText = 16U << 20;

static_assert(std::endian::native == std::endian::little, "the values are copied as they are");

class Writer {
 public:
  std::vector<std::byte> take() { return std::move(bytes_); }
  void raw(const void* from, std::size_t count) {
    const auto* start = static_cast<const std::byte*>(from);
    bytes_.insert(bytes_.end(), start, start + count);
  }
  void number(std::size_t value) {
    const auto word = static_cast<std::uint32_t>(value);
    raw(&word, sizeof word);
  }
  void text(std::string_view text) {
    number(text.size());
    raw(text.data(), text.size());
  }
  /// Room for `count` more values, to be filled at once.
  std::byte* values(std::size_t count) {
    const std::size_t before = bytes_.size();
    bytes_.resize(before + count * sizeof(float));
    return bytes_.data() + before;
  }

 private:
  std::vector<std::byte> bytes_;
};

class Reader {
 public:
  explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}
  bool good() const noexcept { return good_; }
  bool atEnd() const noexcept { return good_ && bytes_.empty(); }

  std::span<const std::byte> raw(std::size_t count) {
    if (!good_ || count > bytes_.size()) {
      good_ = false;
      return {};
    }
    const auto part = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return part;
  }
  std::uint32_t number(std::uint32_t most) {
    std::uint32_t value = 0;
    const auto part = raw(sizeof value);
    if (good_) std::memcpy(&value, part.data(), sizeof value);
    if (value > most) good_ = false;
    return good_ ? value : 0;
  }
  std::string text() {
    const auto part = raw(number(mostText));
    return {reinterpret_cast<const char*>(part.data()), part.size()};
  }

 private:
  std::span<const std::byte> bytes_;
  bool good_ = true;
};

std::size_t pixelsOf(const Film& film) {
  return static_cast<std::size_t>(film.width()) * static_cast<std::size_t>(film.height());
}

void writeColor(const Film& film, Writer& to) {
  std::byte* out = to.values(pixelsOf(film) * 4);
  for (int y = 0; y < film.height(); ++y)
    for (int x = 0; x < film.width(); ++x, out += 4 * sizeof(float)) {
      float rgba[4];
      film.getColor(x, y, rgba);
      std::memcpy(out, rgba, sizeof rgba);
    }
}

void writeLayer(const FilmLayer& layer, std::size_t pixels, Writer& to) {
  const std::size_t width = layer.channels().size();
  to.text(layer.name());
  to.text(layer.channels());
  to.number(layer.internal() ? 1 : 0);
  std::byte* out = to.values(pixels * width);
  std::vector<float> values(width);
  for (std::size_t pixel = 0; pixel < pixels; ++pixel, out += width * sizeof(float)) {
    layer.get(pixel, values.data());
    std::memcpy(out, values.data(), width * sizeof(float));
  }
}

bool readColor(Reader& from, Film& film) {
  const auto values = from.raw(pixelsOf(film) * 4 * sizeof(float));
  const std::byte* in = values.data();
  for (int y = 0; from.good() && y < film.height(); ++y)
    for (int x = 0; x < film.width(); ++x, in += 4 * sizeof(float)) {
      float rgba[4];
      std::memcpy(rgba, in, sizeof rgba);
      film.setColor(x, y, rgba);
    }
  return from.good();
}

bool readLayer(Reader& from, Film& film) {
  constexpr std::size_t mostChannels = 16;
  const std::string name = from.text(), channels = from.text();
  const bool internal = from.number(1) != 0;
  if (!from.good() || name.empty() || channels.empty() || channels.size() > mostChannels ||
      film.findLayer(name))
    return false;
  const std::size_t width = channels.size(), pixels = pixelsOf(film);
  const auto values = from.raw(pixels * width * sizeof(float));
  if (!from.good()) return false;
  const FilmLayerPtr layer = film.addLayer(name, channels, internal);
  std::vector<float> one(width);
  const std::byte* in = values.data();
  for (std::size_t pixel = 0; pixel < pixels; ++pixel, in += width * sizeof(float)) {
    std::memcpy(one.data(), in, width * sizeof(float));
    layer->set(pixel, one.data());
  }
  return true;
}

} // namespace

std::vector<std::byte> filmToBytes(const Film& film) {
  const std::vector<FilmLayerPtr> layers = film.layers();
  const auto notes = film.notes();
  const PictureOrigin origin = film.origin();
  Writer to;
  to.raw(mark.data(), mark.size());
  for (const std::size_t number :
       {static_cast<std::size_t>(film.width()), static_cast<std::size_t>(film.height()), layers.size(),
        notes.size(), origin.size()})
    to.number(number);
  writeColor(film, to);
  for (const FilmLayerPtr& layer : layers)
    writeLayer(*layer, pixelsOf(film), to);
  for (const auto& [key, text] : notes)
    to.text(key), to.text(text);
  for (const auto& [key, text] : origin)
    to.text(key), to.text(text);
  return to.take();
}

std::shared_ptr<Film> filmFromBytes(std::span<const std::byte> bytes) {
  Reader from(bytes);
  const auto start = from.raw(mark.size());
  if (!from.good() || std::memcmp(start.data(), mark.data(), mark.size()) != 0) return nullptr;
  const std::uint32_t width = from.number(mostPixels), height = from.number(mostPixels),
                      layers = from.number(mostLayers), notes = from.number(mostTexts),
                      origins = from.number(mostTexts);
  // The colour alone needs 16 bytes a pixel: a short file gets no memory on its word.
  const std::size_t color = std::size_t{width} * height * 4 * sizeof(float);
  if (!from.good() || color == 0 || color > bytes.size()) return nullptr;
  auto film = std::make_shared<Film>(static_cast<int>(width), static_cast<int>(height));
  if (!readColor(from, *film)) return nullptr;
  for (std::uint32_t i = 0; i < layers; ++i)
    if (!readLayer(from, *film)) return nullptr;
  for (std::uint32_t i = 0; i < notes; ++i) {
    std::string key = from.text();
    film->setNote(std::move(key), from.text());
  }
  PictureOrigin origin;
  for (std::uint32_t i = 0; i < origins && from.good(); ++i) {
    std::string key = from.text();
    origin.emplace_back(std::move(key), from.text());
  }
  film->setOrigin(std::move(origin));
  return from.atEnd() ? film : nullptr;
}

std::shared_ptr<Film> copyOf(const Film& film) {
  auto copy = std::make_shared<Film>(film.width(), film.height());
  float values[4];
  for (int y = 0; y < film.height(); ++y)
    for (int x = 0; x < film.width(); ++x) {
      film.getColor(x, y, values);
      copy->setColor(x, y, values);
    }
  for (const FilmLayerPtr& layer : film.layers()) {
    const FilmLayerPtr to = copy->addLayer(layer->name(), layer->channels(), layer->internal());
    std::vector<float> one(layer->channels().size());
    for (std::size_t pixel = 0; pixel < pixelsOf(film); ++pixel) {
      layer->get(pixel, one.data());
      to->set(pixel, one.data());
    }
  }
  for (auto& [key, text] : film.notes())
    copy->setNote(key, text);
  copy->setOrigin(film.origin());
  copy->showDenoised(film.showsDenoised());
  return copy;
}

} // namespace host
