// Films and folders for the tests of the history.
#pragma once

#include <bit>
#include <filesystem>
#include <limits>
#include <map>

#include "atomic_file.h"
#include "film.h"
#include "history_folder.h"
#include "session_fixture.h"

/// A film with values of its own in every pixel, a layer of two channels, notes and an origin.
inline std::shared_ptr<host::Film> smallFilm(int width = 6, int height = 4, float first = 0) {
  auto film = std::make_shared<host::Film>(width, height);
  const host::FilmLayerPtr layer = film->addLayer("motion", "XY");
  film->addLayer(host::film_layers::sky, "RGB", true);
  float value = first;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const float rgba[] = {value, value + 0.25f, -value, 1};
      film->setColor(x, y, rgba);
      const float motion[] = {value * 3, 1 / (value + 2)};
      layer->set(film->pixelAt(x, y), motion);
      value += 1;
    }
  const float odd[] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), -0.0f,
                       1e-42f};
  film->setColor(0, 0, odd);
  film->setNote("cryptomatte/1/manifest", "{\"box\":\"1\"}");
  film->setOrigin({{"Scene", "room.glb"}, {"Camera", "front"}, {"Frame", "7"}, {"Samples", "64"}});
  return film;
}

inline void expectSameFilm(const host::Film& a, const host::Film& b) {
  ASSERT_EQ(a.width(), b.width());
  ASSERT_EQ(a.height(), b.height());
  const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value); };
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      float first[4], second[4];
      a.getColor(x, y, first);
      b.getColor(x, y, second);
      for (int c = 0; c < 4; ++c)
        ASSERT_EQ(bits(first[c]), bits(second[c])) << x << ", " << y;
    }
  ASSERT_EQ(a.layers().size(), b.layers().size());
  for (const host::FilmLayerPtr& layer : a.layers()) {
    const host::FilmLayerPtr same = b.findLayer(layer->name());
    ASSERT_TRUE(same) << layer->name();
    EXPECT_EQ(same->channels(), layer->channels());
    EXPECT_EQ(same->internal(), layer->internal());
    std::vector<float> first(layer->channels().size()), second(first);
    for (std::size_t i = 0; i < static_cast<std::size_t>(a.width() * a.height()); ++i) {
      layer->get(i, first.data());
      same->get(i, second.data());
      ASSERT_EQ(first, second) << layer->name() << ", pixel " << i;
    }
  }
  EXPECT_EQ(a.notes(), b.notes());
  EXPECT_EQ(a.origin(), b.origin());
}

/// All files below a folder, by their path in it.
inline std::map<std::string, std::uintmax_t> filesBelow(const Filename& folder) {
  namespace fs = std::filesystem;
  std::map<std::string, std::uintmax_t> files;
  const fs::path root(folder.GetString().GetUTF8());
  if (!fs::exists(root)) return files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root))
    if (entry.is_regular_file()) files[entry.path().lexically_relative(root)] = entry.file_size();
  return files;
}

inline std::uintmax_t bytesBelow(const Filename& folder) {
  std::uintmax_t bytes = 0;
  for (const auto& [name, size] : filesBelow(folder))
    bytes += size;
  return bytes;
}
