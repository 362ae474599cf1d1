// The float film of a bitmap: a renderer's linear result before it becomes 8 bits.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c4d_bitmap.h"
#include "film_samples.h"

namespace host {

class ViewTransform;
struct ViewSettings;

/// Floats beside a film's colour, zero at first. Values are relaxed atomics: any thread writes and reads.
class FilmLayer {
 public:
  /// `channels` has a letter for each channel, as picture files name them: "RGB", "XYZ", "Z", "V".
  FilmLayer(std::string name, std::string channels, std::size_t pixels, bool internal);
  const std::string& name() const noexcept { return name_; }
  const std::string& channels() const noexcept { return channels_; }
  /// True for layers that the host needs itself and that files leave out.
  bool internal() const noexcept { return internal_.load(std::memory_order_relaxed); }
  void setInternal(bool on) noexcept { internal_.store(on, std::memory_order_relaxed); }

  /// As many values as channels. `pixel` counts from the upper left corner, row after row.
  void set(std::size_t pixel, const float* values) noexcept;
  void get(std::size_t pixel, float* values) const noexcept;

 private:
  std::string name_, channels_;
  std::atomic<bool> internal_;
  std::unique_ptr<std::atomic<float>[]> values_;
};
using FilmLayerPtr = std::shared_ptr<FilmLayer>;

/// The scene, camera, settings ... of a picture, in the order in which users read them: a name in English
/// letters without blanks, and a text.
using PictureOrigin = std::vector<std::pair<std::string, std::string>>;

/// Names of layers that the host gives a meaning.
namespace film_layers {
inline constexpr char denoised[] = "denoised"; // RGB: the colour without noise
inline constexpr char sky[] = "sky"; // RGB: light of the sky that the camera sees, a part of the colour that
                                     // no surface covers. Internal unless it was asked for
} // namespace film_layers

/// A section of a picture, inside it.
struct FilmWindow {
  int left = 0, top = 0, width = 0, height = 0;
};

/// The colour of a picture and named layers, all of one size. Any thread writes and reads.
///
/// The colour has four channels: red, green, blue (linear, Rec. 709 primaries) and alpha (coverage by
/// surfaces). It is the light that reaches the camera from the whole pixel. Surfaces that cover half of it
/// add half of their light, so without a sky the colour is multiplied by alpha; a visible sky adds its own
/// light.
class Film {
 public:
  Film(int width, int height) : Film(width, height, {0, 0, width, height}) {}
  /// Of a picture of this size, but holds and takes memory for the pixels of the window alone. Others read as
  /// zero, and setting their colour does nothing.
  Film(int width, int height, const FilmWindow& window);
  int width() const noexcept { return width_; }
  int height() const noexcept { return height_; }
  bool holds(int x, int y) const noexcept {
    return x >= window_.left && y >= window_.top && x - window_.left < window_.width &&
           y - window_.top < window_.height;
  }
  /// The index of a pixel that it holds, in its layers.
  std::size_t pixelAt(int x, int y) const noexcept {
    return static_cast<std::size_t>(y - window_.top) * static_cast<std::size_t>(window_.width) +
           static_cast<std::size_t>(x - window_.left);
  }
  /// Of the pixels that it holds.
  std::size_t pixelCount() const noexcept {
    return static_cast<std::size_t>(window_.width) * static_cast<std::size_t>(window_.height);
  }

  /// The colour as it was rendered, noise included. Inside the film only, as all that follows.
  void setColor(int x, int y, const float rgba[4]) noexcept;
  void getColor(int x, int y, float rgba[4]) const noexcept;
  /// The colour that the bitmap shows: the denoised one where there is one and it was not switched off.
  void getShown(int x, int y, float rgba[4]) const noexcept;
  /// Red, green and blue of it for a whole row.
  void getShownRow(int y, float* rgb) const noexcept;
  /// The colour of the surfaces alone, not multiplied by alpha: the shown colour without the sky's light,
  /// divided by the coverage. Where alpha is 0 it is the shown colour.
  void getStraight(int x, int y, float rgba[4]) const noexcept;
  /// The same of another colour of the pixel, in place.
  void makeStraight(int x, int y, float rgba[4]) const noexcept;

  /// The view that the bitmap shows the colour through: a plain one unless another was set. Never null.
  std::shared_ptr<const ViewTransform> view() const;
  void setView(std::shared_ptr<const ViewTransform> view);

  void showDenoised(bool on) noexcept { showDenoised_.store(on, std::memory_order_relaxed); }
  /// True when there is a denoised layer and it is shown.
  bool showsDenoised() const noexcept;

  /// The layer of this name, made when it is missing. Its channels are those that it was made with;
  /// `internal` holds from now on.
  FilmLayerPtr addLayer(std::string_view name, std::string_view channels, bool internal = false);
  /// Null when it is missing.
  FilmLayerPtr findLayer(std::string_view name) const;
  void removeLayer(std::string_view name);
  std::vector<FilmLayerPtr> layers() const;

  /// Texts about layers that belong into a file's header: by the name that they have there.
  void setNote(std::string key, std::string text);
  void removeNote(const std::string& key);
  void clearNotes();
  std::map<std::string, std::string> notes() const;
  /// Nodes of the rendered scene by the numbers in a layer, from 1 on; they are not written to files.
  void setNodes(const std::string& layer, std::vector<std::uint64_t> nodes);
  std::vector<std::uint64_t> nodes(const std::string& layer) const;
  /// Takes over notes, nodes and origin of a film with the same layers.
  void takeTexts(const Film& other);
  /// Where the picture comes from; empty while nobody said so.
  void setOrigin(PictureOrigin origin);
  PictureOrigin origin() const;

  /// The samples to go on from; null when nobody kept them. Files leave them out unless asked for.
  void setSamples(FilmSamplesPtr samples);
  FilmSamplesPtr samples() const;

 private:
  int width_, height_;
  FilmWindow window_;
  std::unique_ptr<std::atomic<float>[]> color_;
  std::atomic<bool> showDenoised_{true};
  // The two layers that single pixels are read from: never freed before the film once they were made.
  std::atomic<const FilmLayer*> denoised_{nullptr}, sky_{nullptr};
  mutable std::mutex guard_; // of the lists
  std::vector<FilmLayerPtr> layers_, removed_;
  std::map<std::string, std::string> notes_;
  std::map<std::string, std::vector<std::uint64_t>> nodes_;
  PictureOrigin origin_;
  FilmSamplesPtr samples_;
  std::shared_ptr<const ViewTransform> view_; // null: plain
};

/// The bitmap's film; null when it has none or its size differs. `Init`, `FlushAll` and loading drop it.
std::shared_ptr<Film> filmOf(const BaseBitmap& bitmap);
void setFilm(BaseBitmap& bitmap, std::shared_ptr<Film> film);

/// Shows the denoised or the noisy colour of the film in the bitmap. Pixels that were drawn over since the
/// render stay. False when the bitmap has no film, or its film has no denoised layer.
bool showDenoised(BaseBitmap& bitmap, bool on);

/// Makes every pixel of the bitmap what its film shows; nothing without a film.
void drawFilm(BaseBitmap& bitmap);

/// Shows the film's colour in the bitmap through another view. Pixels that were drawn over stay. Nothing
/// happens without a film, or when it shows this view already.
void showThrough(BaseBitmap& bitmap, const ViewSettings& view);
/// Whether the bitmap shows its film through this view. True for bitmaps without a film, which no view
/// changes.
bool isShownThrough(const BaseBitmap& bitmap, const ViewSettings& view);

/// Whether the bitmap's pixel is what the view makes of the colour; else it was drawn over.
bool agrees(const BaseBitmap& bitmap, const ViewTransform& view, int x, int y, const float shown[4]) noexcept;

} // namespace host
