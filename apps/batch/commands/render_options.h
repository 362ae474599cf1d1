// Options of the commands that render, as values.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "c4d_types.h"
#include "frame_ranges.h"

namespace batch {

struct PixelSize {
  LONG width = 0, height = 0;
};

/// Inclusive bounds, in pixels from the upper left corner.
struct PixelRegion {
  LONG left = 0, top = 0, right = 0, bottom = 0;
};

/// A region as the viewer keeps it: left edge, top edge and size as fractions of the whole picture. It has
/// the picture's aspect ratio.
struct RegionBox {
  double x = 0, y = 0, size = 0.5;
};

/// The end of a render, over the scene's render settings.
struct Sampling {
  int samples = 0;               // of a pixel; 0: the scene's, or with one of the next two more than any
                                 // picture needs
  double seconds = 0;            // a picture ends after them; 0: no limit
  std::optional<double> noise;   // a pixel ends at this standard error, 0 to 1; 0: never
  std::optional<double> shutter; // frames that it is open around each frame's time; 0: no motion blur
  std::string spread;            // of the samples: "noise", "even", or empty: as the scene says
  std::string radianceCache;     // "on", "off", or empty: as the scene says
  std::string denoise;           // "off", "end", "live", or empty: as the scene says
};

/// One of equal parts of a picture's samples, to be merged.
struct SamplePart {
  LONG number = 1, count = 1; // 1 <= number <= count
};

/// A picture cut into columns and rows of tiles, which differ by a pixel at most.
struct TileGrid {
  LONG columns = 1, rows = 1;
  LONG count() const { return columns * rows; }
};

/// One of a picture's tiles, counted from 1, row by row.
struct PictureTile {
  LONG number = 1;
  TileGrid grid;
};

/// The view of a saved picture, over the document's.
struct ViewOptions {
  std::string shading; // a name of host::render::shadingModes; empty: as the scene says
  std::optional<std::string> view;
  std::optional<double> exposure; // stops, -20 to 20
  std::optional<bool> lens;       // effects on or off; without it, as the scene says
  bool given() const { return view || exposure || lens.value_or(false); }
};

struct RenderOptions {
  std::string scene, image;
  std::vector<std::string>
      more; // further scenes; the names of image and stats then say which (scene_pictures.h)
  std::optional<PixelSize> size;
  std::optional<LONG> frame;
  std::string camera;  // empty: the scene's own
  std::string variant; // of materials; empty: the scene's own
  std::optional<PixelRegion> region;
  std::optional<RegionBox> box;                              // at most one of the two
  std::vector<std::pair<std::string, std::string>> settings; // key and value, as they were typed
  Sampling sampling;
  ViewOptions view;
  int threads = 0;                 // 0: all
  std::optional<LONG> quality;     // 1 to 100, of JPEG and WebP pictures
  std::optional<unsigned> layers;  // of the film, bits of host::LayerBit; without it, the scene's
  bool half = false;               // OpenEXR: colours as 16-bit floats
  std::optional<LONG> compression; // OpenEXR: index into host::exrCompressions
  LONG bits = 0;                   // PNG: 8 or 16 a channel; 0: 8
  bool alpha = false;              // the picture gets an alpha channel
  bool resumable = false;          // OpenEXR: the samples go into the file
  std::string resume;              // the OpenEXR file to go on from; empty: none
  std::optional<SamplePart> part;  // of the samples; the film is resumable
  std::optional<PictureTile> tile; // of the picture; the film holds it alone
  std::string home, stats;
  bool quiet = false;
};

struct AnimateOptions {
  std::string scene, output;
  FrameList frames;
  std::optional<LONG> format;      // 0 to 10; without it, by the output's suffix
  std::optional<LONG> quality;     // 1 to 100, of JPEG and WebP pictures and of movies
  std::optional<unsigned> layers;  // OpenEXR: bits of host::LayerBit; without it, the scene's
  bool half = false;               // OpenEXR: colours as 16-bit floats
  std::optional<LONG> compression; // OpenEXR: index into host::exrCompressions
  LONG bits = 0;                   // PNG: 8 or 16 a channel; 0: 8
  std::optional<PixelSize> size;
  std::string camera;                                        // empty: the scene's own
  std::string variant;                                       // of materials; empty: the scene's own
  std::vector<std::pair<std::string, std::string>> settings; // key and value, as they were typed
  Sampling sampling;                                         // of each frame
  ViewOptions view;
  int threads = 0; // 0: all
  std::string home;
  LONG codec = 0;     // of a movie: a host::MovieCodecId; 0: the stored one
  bool alpha = false; // pictures and movies get an alpha channel
  bool stamps = false, overwrite = false, resume = false, quiet = false;
  bool json = false;   // the progress goes to standard output as lines of JSON
  std::string preview; // file of a small picture of the running render; empty: none
};

} // namespace batch
