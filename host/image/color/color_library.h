// OpenColorIO as the host sees it. The library is a part of the host (part.h), loaded when a view needs it.
// Private to host/image.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// The part's entry: its host::ColorLibrary.
extern "C" void* lumenara_part_ocio();

namespace host {

/// A configuration or a view that cannot be used; the text is the library's, with the line of the file where
/// there is one.
struct ColorError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Maps colours to colours, such as linear light of Rec. 709's primaries to display values. Any thread.
class ColorProcessor {
 public:
  ColorProcessor() = default;
  virtual ~ColorProcessor() = default;
  ColorProcessor(const ColorProcessor&) = delete;
  ColorProcessor& operator=(const ColorProcessor&) = delete;
  /// Red, green and blue of each pixel, in place.
  virtual void apply(float* rgb, std::size_t pixels) const = 0;
  /// False: each channel depends on itself alone.
  virtual bool mixesChannels() const = 0;
};

class ColorConfig {
 public:
  ColorConfig() = default;
  virtual ~ColorConfig() = default;
  ColorConfig(const ColorConfig&) = delete;
  ColorConfig& operator=(const ColorConfig&) = delete;
  /// "Display - View" of each view that is not hidden.
  virtual std::vector<std::string> views() const = 0;
  /// Of one of them. Throws ColorError.
  virtual std::unique_ptr<ColorProcessor> processor(const std::string& view) const = 0;
  /// The colour space that the rules for file names give a picture; empty when the default rule alone fits.
  virtual std::string spaceOfFile(const std::string& file) const = 0;
  /// Values of a colour space to linear light of Rec. 709's primaries; those of a data space stay. Throws
  /// ColorError.
  virtual std::unique_ptr<ColorProcessor> toRec709(const std::string& space) const = 0;
};

/// The part's interface. Any thread.
class ColorLibrary {
 public:
  /// The ACES output transform for video of standard dynamic range, encoded for sRGB. Throws ColorError.
  virtual std::unique_ptr<ColorProcessor> acesSdr() const = 0;
  /// Throws ColorError.
  virtual std::unique_ptr<ColorConfig> load(const std::string& file) const = 0;

 protected:
  ~ColorLibrary() = default;
};

/// Loads the part at the first call. Throws PartError.
const ColorLibrary& colorLibrary();

} // namespace host
