#include "film_merge.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>

#include "film_denoiser.h"
#include "layer_table.h"
#include "noise_map.h"
#include "sample_archive.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int mostSide = 32768;

std::string factOf(const KeptRender& kept, const char* name) {
  const auto found = std::find_if(kept.facts.begin(), kept.facts.end(),
                                  [&](const auto& fact) { return fact.first == name; });
  return found == kept.facts.end() ? std::string() : found->second;
}

/// As many numbers as `values` has places, with commas between them.
template <std::size_t count>
bool readNumbers(const std::string& text, std::array<int, count>& values) {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0 && (at == end || *at++ != ',')) return false;
    const auto [next, error] = std::from_chars(at, end, values[i]);
    if (error != std::errc()) return false;
    at = next;
  }
  return at == end;
}

int numberOf(const std::string& text) {
  std::array<int, 1> number{};
  return readNumbers(text, number) ? number[0] : -1;
}

std::string rangeText(int first, int end) {
  return std::to_string(first) + " to " + std::to_string(end - 1);
}

std::string whyOther(const MergePart& one, const MergePart& other) {
  auto a = one.kept, b = other.kept;
  if (a.layout.layers != b.layout.layers || a.layout.looks != b.layout.looks || a.layerFacts != b.layerFacts)
    return "the layers";
  for (const auto& [name, value] : a.facts)
    if (name != "first" && factOf(b, name.c_str()) != value) return factLabel(name);
  return a.facts.size() == b.facts.size() ? std::string() : "the settings";
}

} // namespace

int MergePart::first() const {
  return std::max(0, numberOf(factOf(kept, "first")));
}

std::string describePart(const Film& film, MergePart& part) {
  const FilmSamplesPtr samples = film.samples();
  if (!samples) return "it holds no samples. Render it with --part or --resumable";
  const auto kept = keptRenderOf(samples->render);
  if (!kept || !layerFactsOf(kept->layerFacts)) return "its samples are of another version of the program";
  if (sampleCheck(samples->data) != kept->check)
    return "its samples were changed, as by storing them as 16-bit floats. Use the file as it was rendered";
  part.kept = *kept;
  part.width = film.width(), part.height = film.height();
  part.denoised = film.findLayer(film_layers::denoised) != nullptr;
  const bool numbered = numberOf(factOf(*kept, "first")) >= 0 && part.end() <= (1 << 24);
  return numbered ? std::string() : "its samples are damaged. Use a copy of the file";
}

std::string arrangeParts(std::vector<MergePart>& parts) {
  std::stable_sort(parts.begin(), parts.end(),
                   [](const MergePart& a, const MergePart& b) { return a.first() < b.first(); });
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const MergePart &before = parts[i - 1], &part = parts[i];
    if (part.width != before.width || part.height != before.height)
      return before.name + " and " + part.name + " have different sizes; merge films of one picture";
    if (const std::string other = whyOther(before, part); !other.empty())
      return before.name + " and " + part.name + " are of different renders (" + other +
             " differs); merge films of one picture";
    if (part.first() < before.end())
      return before.name + " and " + part.name + " both have the samples " +
             rangeText(part.first(), std::min(part.end(), before.end())) + "; leave one of them out";
    if (part.first() > before.end())
      return "the samples " + rangeText(before.end(), part.first()) + " are missing between " + before.name +
             " and " + part.name + "; render them, and merge all parts";
  }
  return {};
}

FilmMerge::FilmMerge(std::vector<MergePart> parts) : parts_(std::move(parts)), kept_(parts_.front().kept) {
  std::array<int, 4> box{};
  if (!readNumbers(factOf(kept_, "region"), box)) throw DamagedSamples();
  Region& region = settings_.region;
  region = {box[0], box[1], box[2], box[3]};
  const MergePart& part = parts_.front();
  if (region.empty() || region.left < 0 || region.top < 0 || region.right >= part.width ||
      region.bottom >= part.height || part.width > mostSide || part.height > mostSide)
    throw DamagedSamples();
  width_ = region.width(), height_ = region.height();
  settings_.layers = kept_.layout.layers;
  settings_.antiAliasing =
      static_cast<AntiAliasing>(std::clamp(numberOf(factOf(kept_, "antialiasing")), 0, 2));
  for (const MergePart& one : parts_)
    if (one.denoised && one.kept.layout.looks) settings_.denoise = Denoising::end;
  // With albedo and normal of each pixel, for the layers or for the denoiser.
  if (kept_.layout.looks && !settings_.firstHits()) settings_.denoise = Denoising::end;
  facts_ = layerFactsOf(kept_.layerFacts).value();
  pixels_.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  flags_.resize(pixels_.size());
  if (settings_.antiAliasing == AntiAliasing::geometry) objects_.resize(pixels_.size());
  layers_ = std::make_unique<LayerSums>(settings_, facts_, pixels_.size());
  kept_.level = 0;
}

std::size_t FilmMerge::filmPixel(int x, int y) const {
  return static_cast<std::size_t>(y + settings_.region.top) * static_cast<std::size_t>(parts_[0].width) +
         static_cast<std::size_t>(x + settings_.region.left);
}

// Adds a pixel of the next part. `row` is a scratch row of the picture.
bool FilmMerge::readPixel(const FilmSamples& samples, int x, int y, LayerSums& row) {
  const MergePart& part = parts_[added_];
  const auto values = static_cast<std::size_t>(samples.values);
  const std::size_t i = index(x, y);
  SampleReader reader(std::span(samples.data).subspan(filmPixel(x, y) * values, values));
  PixelEstimate estimate;
  std::uint8_t flags = 0;
  std::uint32_t object = 0;
  estimate.archive(reader);
  reader(flags);
  if (!objects_.empty()) reader(object);
  if (!row.archive(reader, static_cast<std::size_t>(x), part.kept.layout)) return false;
  if (!reader.good() || !reader.atEnd() || !estimate.plausible() || estimate.count() > part.kept.level)
    return false;
  pixels_[i].add(estimate);
  layers_->add(i, row, static_cast<std::size_t>(x));
  flags_[i] |= flags;
  if (!objects_.empty() && added_ == 0) objects_[i] = object;
  return true;
}

void FilmMerge::add(const Film& film) {
  const MergePart& part = parts_.at(added_);
  const FilmSamplesPtr samples = film.samples();
  if (!samples || textOf(part.kept) != samples->render) throw DamagedSamples();
  const auto values = static_cast<std::size_t>(samples->values);
  const std::size_t all = static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height);
  if (values == 0 || samples->data.size() != all * values) throw DamagedSamples();
  std::atomic<bool> good{true};
  eachRow(height_, [&](int y) {
    LayerSums row(settings_, facts_, static_cast<std::size_t>(width_));
    for (int x = 0; x < width_ && good; ++x)
      if (!readPixel(*samples, x, y, row)) good = false;
  });
  if (!good) throw DamagedSamples();
  kept_.level += part.kept.level;
  if (added_++ > 0) return;
  texts_ = std::make_shared<Film>(1, 1);
  texts_->takeTexts(film);
}

FilmSamplesPtr FilmMerge::samples() {
  KeptRender kept = kept_;
  kept.layout.covers = layers_->mostCovers();
  kept.layout.looks = layers_->hasLooks();
  const auto write = [&](std::vector<float>& to, std::size_t i) {
    SampleWriter writer(to);
    pixels_[i].archive(writer);
    writer(flags_[i]);
    if (!objects_.empty()) writer(objects_[i]);
    layers_->archive(writer, i, kept.layout);
  };
  std::vector<float> one;
  write(one, 0);
  auto samples = std::make_shared<FilmSamples>();
  samples->values = static_cast<int>(one.size());
  samples->data.resize(static_cast<std::size_t>(parts_[0].width) *
                       static_cast<std::size_t>(parts_[0].height) * one.size());
  eachRow(height_, [&](int y) {
    std::vector<float> values;
    for (int x = 0; x < width_; ++x) {
      values.clear();
      write(values, index(x, y));
      std::copy(values.begin(), values.end(), &samples->data[filmPixel(x, y) * one.size()]);
    }
  });
  kept.check = sampleCheck(samples->data);
  samples->render = textOf(kept);
  return samples;
}

void FilmMerge::write(FilmWriter& writer) {
  const NoiseMap noise(pixels_, width_, height_);
  const auto all = [](std::size_t) { return true; };
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x) {
      const std::size_t i = index(x, y);
      if (pixels_[i].count() == 0) continue;
      writer.put(x + settings_.region.left, y + settings_.region.top, pixels_[i]);
      layers_->put(filmPixel(x, y), i, pixels_[i]);
      if (layers_->wantsNoise()) layers_->putNoise(filmPixel(x, y), std::sqrt(noise.squaredError(x, y, all)));
    }
  });
}

std::string FilmMerge::draw(BaseBitmap& bitmap, const ViewSettings& view, bool keep,
                            const std::function<bool()>& stopped) {
  settings_.samples = kept_.level;
  settings_.view = view;
  setFilm(bitmap, std::make_shared<Film>(parts_[0].width, parts_[0].height));
  RenderRequest request{nullptr, settings_, &bitmap, {}, {}, {}, 0};
  request.hooks.stopped = stopped;
  FilmWriter writer(bitmap, settings_, true);
  Film& film = writer.film();
  layers_->addLayers(film);
  if (texts_) film.takeTexts(*texts_);
  write(writer);
  PictureOrigin origin = film.origin();
  for (auto& [name, text] : origin)
    if (name == "Samples") text = std::to_string(kept_.level);
  film.setOrigin(std::move(origin));
  if (keep) film.setSamples(samples());
  bool wanted = (settings_.layers & denoisedLayer) != 0;
  for (const MergePart& part : parts_)
    wanted = wanted || part.denoised;
  if (!wanted) return {};
  FilmDenoiser denoiser(request, writer, layers_->hits());
  denoiser.run(denoise::Effort::final);
  return denoiser.problem();
}

} // namespace host::render
