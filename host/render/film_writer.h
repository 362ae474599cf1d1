// Writes pixels into a bitmap: linear floats into its film, codes into the bitmap itself.
#pragma once

#include <memory>

#include "film.h"
#include "pixel_estimate.h"
#include "render_settings.h"

namespace host::render {

/// Any thread writes; each pixel by one thread at a time.
class FilmWriter {
 public:
  /// Keeps the film of the bitmap; without one, makes a film that agrees with the pixels of the bitmap.
  explicit FilmWriter(BaseBitmap& bitmap);
  /// Likewise, and the film gets a layer of the sky when the camera sees one (`sky`) or the settings ask for
  /// it. A render of the whole picture leaves no layers of earlier renders. The bitmap shows the settings'
  /// view from now on, also where it is not rendered.
  FilmWriter(BaseBitmap& bitmap, const RenderSettings& settings, bool sky);

  /// A linear colour and its coverage (film.h), inside the bitmap; ignored where the film holds no pixel.
  /// `sky`: the sky's part of it, or null.
  void put(int x, int y, const float rgba[4], const float* sky = nullptr);
  /// The means of a pixel with samples.
  void put(int x, int y, const PixelEstimate& pixel);
  /// Makes the layer of the colour without noise, filled with the noisy one.
  void addDenoised();
  /// The colour without noise. After `addDenoised`.
  void putDenoised(int x, int y, const float rgb[3]);

  /// From now on noisy pixels go into the film only, so that the bitmap keeps showing the denoised ones.
  void holdNoise() noexcept { holds_ = true; }
  Film& film() noexcept { return *film_; }

 private:
  void show(int x, int y);

  BaseBitmap& bitmap_;
  std::shared_ptr<Film> film_;
  FilmLayerPtr sky_, denoised_;
  std::shared_ptr<const ViewTransform> view_;
  bool holds_ = false;
};

} // namespace host::render
