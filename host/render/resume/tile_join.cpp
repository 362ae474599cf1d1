#include "tile_join.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <sstream>

#include "c4d_render.h"
#include "denoiser.h"
#include "film_writer.h"
#include "layer_table.h"
#include "view_transform.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr char note[] = "lumenara_tile";
constexpr int mostSide = 32768;
constexpr LONG regionIds[] = {RDATA_RENDERREGION, RDATA_RENDERREGION_LEFT, RDATA_RENDERREGION_TOP,
                              RDATA_RENDERREGION_RIGHT, RDATA_RENDERREGION_BOTTOM};

/// All that tiles of one picture have in common.
PictureOrigin commonOrigin(const Film& film) {
  PictureOrigin origin = film.origin();
  std::erase_if(origin, [](const auto& entry) { return entry.first == "RenderTime"; });
  return origin;
}

/// The list of settings without those of the region.
std::string withoutRegion(const std::string& settings) {
  std::string kept;
  std::istringstream list(settings);
  for (std::string one; std::getline(list, one, ';');) {
    if (one.starts_with(' ')) one.erase(0, 1);
    const bool region = std::any_of(std::begin(regionIds), std::end(regionIds),
                                    [&](LONG id) { return one.starts_with(std::to_string(id) + "="); });
    if (!region) kept += (kept.empty() ? "" : "; ") + one;
  }
  return kept;
}

bool overlap(const Region& a, const Region& b) {
  return a.left <= b.right && b.left <= a.right && a.top <= b.bottom && b.top <= a.bottom;
}

std::int64_t areaOf(const Region& region) {
  return static_cast<std::int64_t>(region.width()) * region.height();
}

} // namespace

unsigned TileFacts::renderedLayers() const {
  return (denoises() ? layers | albedoLayer | normalLayer : layers) & ~unsigned{denoisedLayer};
}

Region withMargin(const Region& tile, int width, int height) {
  return {std::max(0, tile.left - tileMargin), std::max(0, tile.top - tileMargin),
          std::min(width - 1, tile.right + tileMargin), std::min(height - 1, tile.bottom + tileMargin)};
}

void setTileFacts(Film& film, const TileFacts& facts) {
  std::string text;
  for (const int number : {facts.tile.left, facts.tile.top, facts.tile.right, facts.tile.bottom, facts.width,
                           facts.height, static_cast<int>(facts.layers), static_cast<int>(facts.denoise)})
    text += (text.empty() ? "" : ",") + std::to_string(number);
  film.setNote(note, text);
  PictureOrigin origin = film.origin();
  for (auto& [name, value] : origin)
    if (name == "Settings") value = withoutRegion(value);
  film.setOrigin(std::move(origin));
}

std::optional<TileFacts> tileFactsOf(const Film& film) {
  const auto notes = film.notes();
  const auto found = notes.find(note);
  if (found == notes.end()) return std::nullopt;
  std::array<int, 8> n{};
  const char* at = found->second.data();
  const char* const end = at + found->second.size();
  for (std::size_t i = 0; i < n.size(); ++i) {
    if (i > 0 && (at == end || *at++ != ',')) return std::nullopt;
    const auto [next, error] = std::from_chars(at, end, n[i]);
    if (error != std::errc()) return std::nullopt;
    at = next;
  }
  const TileFacts facts{{n[0], n[1], n[2], n[3]},
                        n[4],
                        n[5],
                        static_cast<unsigned>(n[6]) & allLayers(),
                        static_cast<Denoising>(std::clamp(n[7], 0, 2))};
  const Region& tile = facts.tile;
  const bool inside = tile.left >= 0 && tile.top >= 0 && tile.right >= tile.left && tile.bottom >= tile.top &&
                      tile.right < facts.width && tile.bottom < facts.height && facts.width <= mostSide &&
                      facts.height <= mostSide;
  if (at != end || !inside || film.width() != tile.width() || film.height() != tile.height())
    return std::nullopt;
  return facts;
}

std::string TileJoin::whyOther(const Film& film, const TileFacts& facts) const {
  if (facts.width != facts_.width || facts.height != facts_.height) return "the size of the picture";
  if (facts.layers != facts_.layers) return "the layers";
  if (facts.denoise != facts_.denoise) return "denoising";
  const PictureOrigin origin = commonOrigin(film);
  for (std::size_t i = 0; i < std::max(origin.size(), same_.size()); ++i)
    if (i >= origin.size() || i >= same_.size() || origin[i] != same_[i])
      return i < same_.size() ? same_[i].first : origin[i].first;
  return {};
}

std::string TileJoin::add(const Film& film, const std::string& name) {
  const auto facts = tileFactsOf(film);
  if (!facts) return name + " is no tile of a picture; render it with --tile";
  if (!film_) {
    facts_ = *facts, first_ = name, same_ = commonOrigin(film);
    film_ = std::make_shared<Film>(facts_.width, facts_.height);
    film_->takeTexts(film);
    film_->removeNote(note);
  }
  if (const std::string other = whyOther(film, *facts); !other.empty())
    return first_ + " and " + name + " are of different renders (" + other +
           " differs); merge tiles of one picture";
  for (const auto& [tile, known] : tiles_)
    if (overlap(tile, facts->tile))
      return known + " and " + name + " have the same pixels; leave one of them out";
  tiles_.emplace_back(facts->tile, name);
  copy(film, facts->tile);
  return {};
}

void TileJoin::copy(const Film& film, const Region& tile) {
  const auto eachPixel = [&](auto&& work) {
    eachRow(tile.height(), [&](int y) {
      for (int x = 0; x < tile.width(); ++x)
        work(x, y);
    });
  };
  eachPixel([&](int x, int y) {
    float rgba[4];
    film.getColor(x, y, rgba);
    film_->setColor(x + tile.left, y + tile.top, rgba);
  });
  for (const FilmLayerPtr& layer : film.layers()) {
    const FilmLayerPtr whole = film_->addLayer(layer->name(), layer->channels());
    if (whole->channels() != layer->channels()) continue;
    eachPixel([&](int x, int y) {
      std::array<float, 8> values{};
      if (layer->channels().size() > values.size()) return;
      layer->get(film.pixelAt(x, y), values.data());
      whole->set(film_->pixelAt(x + tile.left, y + tile.top), values.data());
    });
  }
}

std::string TileJoin::problem() const {
  std::int64_t area = 0;
  for (const auto& [tile, name] : tiles_)
    area += areaOf(tile);
  const std::int64_t all = static_cast<std::int64_t>(facts_.width) * facts_.height;
  if (area == all) return {};
  return "tiles of " + first_ + " are missing: " + std::to_string(all - area) + " of " + std::to_string(all) +
         " pixels are in none; render them, and merge all tiles";
}

std::string TileJoin::draw(BaseBitmap& bitmap, const ViewSettings& view,
                           const std::function<bool()>& stopped) {
  film_->setView(std::make_shared<const ViewTransform>(view));
  setFilm(bitmap, film_);
  film_->showDenoised(facts_.denoise != Denoising::off);
  const std::string problem = facts_.denoises() ? denoise(bitmap, stopped) : std::string();
  for (const LayerBit bit : {albedoLayer, normalLayer})
    if (!(facts_.layers & bit)) film_->removeLayer(layerInfo(bit).name);
  drawFilm(bitmap);
  return problem;
}

std::string TileJoin::denoise(BaseBitmap& bitmap, const std::function<bool()>& stopped) {
  const FilmLayerPtr albedo = film_->findLayer(layerInfo(albedoLayer).name);
  const FilmLayerPtr normal = film_->findLayer(layerInfo(normalLayer).name);
  if (!albedo || !normal || albedo->channels().size() != 3 || normal->channels().size() != 3)
    return "The picture was not denoised: its tiles have no albedo and normal.";
  const std::size_t pixels = film_->pixelCount();
  std::vector<float> colors(3 * pixels), albedos(3 * pixels), normals(3 * pixels);
  eachRow(facts_.height, [&](int y) {
    for (int x = 0; x < facts_.width; ++x) {
      const std::size_t pixel = film_->pixelAt(x, y);
      float rgba[4];
      film_->getColor(x, y, rgba);
      std::copy_n(rgba, 3, &colors[3 * pixel]);
      albedo->get(pixel, &albedos[3 * pixel]);
      normal->get(pixel, &normals[3 * pixel]);
    }
  });
  try {
    const auto clean =
        denoise::denoise({facts_.width, facts_.height, colors.data(), albedos.data(), normals.data()},
                         denoise::Effort::final, [&](double) { return !stopped || !stopped(); });
    if (!clean) return {};
    FilmWriter writer(bitmap);
    writer.addDenoised();
    for (int y = 0; y < facts_.height; ++y)
      for (int x = 0; x < facts_.width; ++x)
        writer.putDenoised(x, y, &(*clean)[3 * film_->pixelAt(x, y)]);
  } catch (const denoise::DenoiseError& error) {
    return std::string("The picture was not denoised: ") + error.what() + ".";
  }
  return {};
}

} // namespace host::render
