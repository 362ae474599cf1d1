// Tiles: sections of one picture, rendered by different programs and joined. Every pixel is the one that a
// render of the whole picture has, bit for bit, with even samples. Any thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "film.h"
#include "render_settings.h"

namespace host::render {

/// Pixels around a tile that decide about it: noise looks two pixels far, at pixels whose edges look one.
inline constexpr int tileMargin = 3;

/// The facts of a tile, kept in its film.
struct TileFacts {
  Region tile;               // of the picture
  int width = 0, height = 0; // of the picture
  unsigned layers = 0;       // wanted, bits of LayerBit
  Denoising denoise = Denoising::off;

  bool denoises() const { return denoise != Denoising::off || (layers & denoisedLayer); }
  /// The layers of the tile's own render: what denoising needs, without its result.
  unsigned renderedLayers() const;
};

/// The tile with its margin, inside the picture.
Region withMargin(const Region& tile, int width, int height);

void setTileFacts(Film& film, const TileFacts& facts);
/// Nothing when the film is no tile, or its facts do not agree with its size.
std::optional<TileFacts> tileFactsOf(const Film& film);

/// Joins tiles in any order.
class TileJoin {
 public:
  /// Adds a tile. An empty text, or a sentence that says why it does not belong to the others. Throws
  /// std::bad_alloc.
  std::string add(const Film& film, const std::string& name);
  /// An empty text, or a sentence about missing pixels.
  std::string problem() const;
  int width() const { return facts_.width; }
  int height() const { return facts_.height; }
  /// Gives the bitmap, which has the picture's size, the whole film, denoised when the tiles ask for it. The
  /// returned sentence, if any, says why it was not; `stopped` (may be empty) ends the denoising.
  std::string draw(BaseBitmap& bitmap, const ViewSettings& view, const std::function<bool()>& stopped = {});

 private:
  std::string whyOther(const Film& film, const TileFacts& facts) const;
  void copy(const Film& film, const Region& tile);
  std::string denoise(BaseBitmap& bitmap, const std::function<bool()>& stopped);

  TileFacts facts_;    // of the first
  std::string first_;  // its name
  PictureOrigin same_; // of all tiles
  std::shared_ptr<Film> film_;
  std::vector<std::pair<Region, std::string>> tiles_;
};

} // namespace host::render
