// The layers of OpenEXR files, hundreds of channels among them.
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string_view>

#include "bitmap_data.h"
#include "exr_input.h"

namespace host {
namespace {

constexpr int rowsAtOnce = 32;

/// Channels of a part that become a layer, or (`layer` null) that give the film's colours their true values.
struct Group {
  std::vector<std::string> channels;
  std::string letters;
  FilmLayerPtr layer;
  bool colors = false;   // of the file's primaries
  std::size_t first = 0; // of its values among those of a pixel
};

/// The place of a channel's letter among those of its layer.
std::size_t rank(char letter) {
  constexpr std::string_view order = "RGBAXYZUVW";
  return std::min(order.find(letter), order.size());
}

/// By layer the channels' names. Those that end in one letter share a layer, all others have one each.
std::map<std::string, std::vector<std::string>> layersIn(const Imf::ChannelList& channels,
                                                         const ExrColorNames& colors) {
  std::map<std::string, std::vector<std::string>> layers;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    const std::string name = channel.name();
    if (!hasExrChannel(channels, name)) continue;
    if (std::find(colors.begin(), colors.end(), name) != colors.end()) continue;
    const std::size_t point = name.rfind('.');
    const bool shares = point != name.npos && point > 0 && point + 2 == name.size();
    layers[shares ? name.substr(0, point) : name].push_back(name);
  }
  return layers;
}

char letterOf(const std::string& channel) {
  const char last = channel.empty() ? 'V' : channel.back();
  const bool alone = channel.size() == 1 || channel[channel.size() - 2] == '.';
  return alone && std::isalpha(static_cast<unsigned char>(last))
             ? static_cast<char>(std::toupper(static_cast<unsigned char>(last)))
             : 'V';
}

/// Layers of other programs whose red, green and blue are numbers, by a word of their names in small letters.
bool saysNumbers(const std::string& word) {
  constexpr std::array<std::string_view, 19> numbers{
      "n",      "normal", "normals", "p",   "pos",   "position", "z",        "depth",      "uv",     "st",
      "vector", "motion", "id",      "ids", "index", "objectid", "velocity", "materialid", "samples"};
  return word.starts_with("crypto") || std::find(numbers.begin(), numbers.end(), word) != numbers.end();
}

bool holdsColors(const std::string& name, const std::string& letters,
                 const std::vector<std::string>& matteNames) {
  if (!letters.starts_with("RGB")) return false;
  for (const std::string& matte : matteNames)
    if (name.starts_with(matte)) return false;
  std::string word;
  for (const char c : name + " ") {
    if (std::isalpha(static_cast<unsigned char>(c))) {
      word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else {
      if (saysNumbers(word)) return false;
      word.clear();
    }
  }
  return true;
}

/// The beginnings of the names of Cryptomatte's layers, as the file's texts say them.
std::vector<std::string> matteNamesOf(const Film& film) {
  std::vector<std::string> names;
  for (const auto& [key, text] : film.notes())
    if (key.starts_with("cryptomatte/") && key.ends_with("/name") && !text.empty()) names.push_back(text);
  return names;
}

/// One part of the file on its way into the film.
class PartReader {
 public:
  PartReader(Imf::MultiPartInputFile& file, int index, const Imath::Box2i& window, bool colored, Film& film)
      : part_(file, index), window_(window), own_(part_.header().dataWindow()), film_(film) {
    toRec709_ = exrToRec709(part_.header());
    if (toRec709_) matteNames_ = matteNamesOf(film);
    const Imf::ChannelList& channels = part_.header().channels();
    const ExrColorNames colors = colored ? exrColorNames(channels) : ExrColorNames();
    if (!colors[0].empty()) add({{colors[0], colors[1], colors[2]}, "RGB", nullptr, false});
    for (auto& [name, list] : layersIn(channels, colors))
      addLayer(name, list);
  }

  void read() {
    if (exrSide(own_.min.x, own_.max.x) == 0 || values_ == 0) return;
    requireExrTiles(part_.header());
    for (int y = own_.min.y; y <= own_.max.y; y += std::min(rowsAtOnce, own_.max.y - y + 1))
      readBand(y, std::min(y + rowsAtOnce - 1, own_.max.y));
  }

 private:
  void add(Group group) {
    group.first = values_;
    values_ += group.channels.size();
    groups_.push_back(std::move(group));
  }

  // A name that another part has already gets the part's in front.
  void addLayer(const std::string& name, std::vector<std::string>& channels) {
    std::stable_sort(channels.begin(), channels.end(), [](const std::string& a, const std::string& b) {
      return rank(letterOf(a)) < rank(letterOf(b));
    });
    std::string letters;
    for (const std::string& channel : channels)
      letters += letterOf(channel);
    const Imf::Header& header = part_.header();
    std::string unique = name;
    if (film_.findLayer(unique))
      unique = (header.hasName() ? header.name() : std::string("part")) + "." + name;
    for (int i = 2; film_.findLayer(unique); ++i)
      unique = name + " " + std::to_string(i);
    const std::size_t pixels = film_.pixelCount();
    if (!fitsMemory(pixels * channels.size() * sizeof(float))) throw std::bad_alloc();
    const FilmLayerPtr layer = film_.addLayer(unique, letters);
    const bool colors = toRec709_ && holdsColors(name, letters, matteNames_);
    add({std::move(channels), letters, layer, colors});
  }

  void readBand(int top, int bottom) {
    const std::size_t width = exrSide(own_.min.x, own_.max.x), rows = exrSide(top, bottom);
    const std::size_t pixel = values_ * sizeof(float), row = pixel * width;
    if (!fitsMemory(row * rows)) throw std::bad_alloc();
    band_.assign(values_ * width * rows, 0);
    // The library adds the coordinates of each pixel to an address before the picture's.
    const auto address = reinterpret_cast<std::uintptr_t>(band_.data()) -
                         static_cast<std::uintptr_t>(static_cast<std::ptrdiff_t>(own_.min.x)) * pixel -
                         static_cast<std::uintptr_t>(static_cast<std::ptrdiff_t>(top)) * row;
    Imf::FrameBuffer buffer;
    for (const Group& group : groups_)
      for (std::size_t c = 0; c < group.channels.size(); ++c)
        buffer.insert(group.channels[c],
                      Imf::Slice(Imf::FLOAT,
                                 reinterpret_cast<char*>(address + (group.first + c) * sizeof(float)), pixel,
                                 row));
    part_.setFrameBuffer(buffer);
    part_.readPixels(top, bottom);
    for (int y = std::max(top, window_.min.y); y <= std::min(bottom, window_.max.y); ++y)
      for (int x = std::max(own_.min.x, window_.min.x); x <= std::min(own_.max.x, window_.max.x); ++x) {
        const std::size_t at = exrSide(top, y) - 1, column = exrSide(own_.min.x, x) - 1;
        store(x - window_.min.x, y - window_.min.y, &band_[(at * width + column) * values_]);
      }
  }

  void store(int x, int y, float* values) {
    for (const Group& group : groups_) {
      float* own = values + group.first;
      if (group.layer) {
        if (group.colors && std::isfinite(own[0] + own[1] + own[2])) changePrimaries(own, *toRec709_);
        group.layer->set(film_.pixelAt(x, y), own);
      } else if (!std::isfinite(own[0]) || !std::isfinite(own[1]) || !std::isfinite(own[2])) {
        float rgba[4];
        film_.getColor(x, y, rgba);
        std::copy_n(own, 3, rgba);
        film_.setColor(x, y, rgba);
      }
    }
  }

  Imf::InputPart part_;
  Imath::Box2i window_, own_; // of the film, of the part
  Film& film_;
  std::optional<ColorMatrix> toRec709_;
  std::vector<std::string> matteNames_; // known where colours are converted
  std::vector<Group> groups_;
  std::size_t values_ = 0; // a pixel
  std::vector<float> band_;
};

void readTexts(const Imf::Header& header, Film& film) {
  constexpr std::string_view ours = "lumenara:";
  PictureOrigin origin = film.origin();
  for (auto attribute = header.begin(); attribute != header.end(); ++attribute) {
    const auto* text = dynamic_cast<const Imf::StringAttribute*>(&attribute.attribute());
    if (!text) continue;
    const std::string name = attribute.name();
    if (name.starts_with(ours))
      origin.emplace_back(name.substr(ours.size()), text->value());
    else
      film.setNote(name, text->value());
  }
  film.setOrigin(std::move(origin));
}

} // namespace

void readExrLayers(PictureBytes bytes, Film& film) {
  setExrLimits();
  ExrInput memory(bytes);
  Imf::MultiPartInputFile file(memory, 0);
  const int chosen = chooseExrPart(file);
  const Imath::Box2i window = file.header(chosen).dataWindow();
  readTexts(file.header(chosen), film);
  for (int index = 0; index < file.parts(); ++index)
    if (isFlatExr(file.header(index))) PartReader(file, index, window, index == chosen, film).read();
}

} // namespace host
