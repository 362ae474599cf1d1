// Films of different samples of one picture, merged into the film of all of them. Any thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "film.h"
#include "film_writer.h"
#include "kept_render.h"
#include "layer_sums.h"
#include "pixel_estimate.h"

namespace host::render {

/// A film with samples, without its pixels.
struct MergePart {
  std::string name; // for messages, such as the file's
  KeptRender kept;
  int width = 0, height = 0;
  bool denoised = false;

  /// Numbers of its samples: from `first` on, up to `end`, which is not one of them.
  int first() const;
  int end() const { return first() + kept.level; }
};

/// Takes the facts of a film and checks its values. An empty text, or a clause that says why it cannot be
/// merged.
std::string describePart(const Film& film, MergePart& part);

/// Sorts the parts by their samples. An empty text, or a sentence that names the files that do not fit: they
/// are of different renders, or samples are missing or there twice.
std::string arrangeParts(std::vector<MergePart>& parts);

/// Adds up the samples of parts in their order. The result depends on the parts alone.
class FilmMerge {
 public:
  /// For parts that were arranged. Throws `DamagedSamples`, std::bad_alloc.
  explicit FilmMerge(std::vector<MergePart> parts);

  /// Adds the next part. Throws `DamagedSamples` when it is not the film that was described, or has more
  /// samples in a pixel than its range.
  void add(const Film& film);
  /// Draws all that was added into a bitmap of the parts' size and gives it the film. `keep`: with the
  /// samples, to go on from. Parts that were denoised give a denoised picture. The returned sentence, if any,
  /// says why it was not; `stopped` (may be empty) ends the denoising.
  std::string draw(BaseBitmap& bitmap, const ViewSettings& view, bool keep,
                   const std::function<bool()>& stopped = {});

 private:
  bool readPixel(const FilmSamples& samples, int x, int y, LayerSums& row);
  void write(FilmWriter& writer);
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }
  std::size_t filmPixel(int x, int y) const;
  FilmSamplesPtr samples();

  std::vector<MergePart> parts_;
  std::size_t added_ = 0;
  RenderSettings settings_;
  LayerFacts facts_;
  KeptRender kept_;    // of what was added
  int width_, height_; // of the region
  std::vector<PixelEstimate> pixels_;
  std::unique_ptr<LayerSums> layers_;
  std::vector<std::uint8_t> flags_;
  std::vector<std::uint32_t> objects_;
  std::shared_ptr<Film> texts_; // of the first part: names and origin
};

} // namespace host::render
