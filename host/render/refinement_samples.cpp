// The samples of a finished picture, kept in its film and taken back from there.
#include <atomic>

#include "refinement.h"
#include "sample_archive.h"
#include "worker_threads.h"

namespace host::render {

template <class Archive>
bool Refinement::archive(Archive& archive, std::size_t pixel, const SampleLayout& layout) {
  pixels_[pixel].archive(archive);
  archive(flags_[pixel]);
  if (!objects_.empty()) archive(objects_[pixel]);
  return layers_.archive(archive, pixel, layout) && pixels_[pixel].plausible();
}

void Refinement::keepSamples() {
  if (settings_.keeping == SampleKeeping::no || settings_.preview) return;
  Film& film = film_.film();
  KeptRender kept = describeKept(scene_.snapshot(), settings_, film.width(), film.height());
  kept.level = level_;
  kept.layerFacts = textOf(layerFactsOf(scene_, settings_));
  kept.layout.looks = layers_.hasLooks();
  kept.layout.covers = layers_.mostCovers();
  std::vector<float> one;
  SampleWriter first(one);
  archive(first, 0, kept.layout);
  auto samples = std::make_shared<FilmSamples>();
  samples->values = static_cast<int>(one.size());
  samples->data.resize(film.pixelCount() * one.size());
  eachRow(height_, [&](int y) {
    std::vector<float> values;
    for (int x = 0; x < width_; ++x) {
      values.clear();
      SampleWriter writer(values);
      archive(writer, index(x, y), kept.layout);
      std::copy(values.begin(), values.end(), &samples->data[filmPixel(x, y) * one.size()]);
    }
  });
  kept.check = sampleCheck(samples->data);
  samples->render = textOf(kept);
  film.setSamples(std::move(samples));
}

void Refinement::restoreSamples() {
  const FilmSamples& samples = *request_.samples;
  const KeptRender kept = keptRenderOf(samples.render).value_or(KeptRender());
  const auto values = static_cast<std::size_t>(samples.values);
  if (samples.data.size() != film_.film().pixelCount() * values) throw DamagedSamples();
  std::atomic<bool> good{true};
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x) {
      SampleReader reader(std::span(samples.data).subspan(filmPixel(x, y) * values, values));
      if (!archive(reader, index(x, y), kept.layout) || !reader.good() || !reader.atEnd()) good = false;
    }
  });
  if (!good) throw DamagedSamples();
  level_ = kept.level;
  std::vector<std::int32_t> counts;
  for (std::size_t i = 0; i < pixels_.size(); ++i) {
    flags_[i] &= resting | edge;
    // Another threshold is asked again.
    if (kept.noise != settings_.noise) flags_[i] &= static_cast<std::uint8_t>(~resting);
    if (flags_[i] & resting) ++resting_;
    counts.push_back(pixels_[i].count());
  }
  goals_.goOn(level_, std::move(counts));
}

} // namespace host::render
