#include "film_samples.h"

#include <algorithm>

#include "film.h"

namespace host {

void takeSamples(Film& film) {
  const auto notes = film.notes();
  const auto note = notes.find(samplesNote);
  if (note == notes.end()) return;
  std::vector<FilmLayerPtr> layers;
  for (const FilmLayerPtr& layer : film.layers())
    if (layer->name().starts_with(samplesChannel) && layer->channels().size() == 1) layers.push_back(layer);
  if (layers.empty()) return;
  std::sort(layers.begin(), layers.end(),
            [](const FilmLayerPtr& a, const FilmLayerPtr& b) { return a->name() < b->name(); });
  auto samples = std::make_shared<FilmSamples>();
  samples->render = note->second;
  samples->values = static_cast<int>(layers.size());
  const std::size_t pixels = film.pixelAt(0, film.height());
  samples->data.resize(pixels * layers.size());
  for (std::size_t i = 0; i < layers.size(); ++i) {
    for (std::size_t pixel = 0; pixel < pixels; ++pixel)
      layers[i]->get(pixel, &samples->data[pixel * layers.size() + i]);
    film.removeLayer(layers[i]->name());
  }
  film.removeNote(samplesNote);
  film.setSamples(std::move(samples));
}

} // namespace host
