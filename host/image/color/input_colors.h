// Colours of picture files by the rules of a colour configuration.
#pragma once

#include <memory>
#include <string>

#include "picture_decode.h"

namespace host {

class ColorProcessor;

/// The way from one colour space of a configuration to linear light of Rec. 709's primaries. Made once in the
/// program, so its address stands for it. Any thread.
class InputColors {
 public:
  explicit InputColors(std::unique_ptr<ColorProcessor> processor);
  ~InputColors();
  InputColors(const InputColors&) = delete;
  InputColors& operator=(const InputColors&) = delete;

  /// The picture with its values as light: floats, or sRGB codes of 16 bits where those hold every value. A
  /// picture of integers comes back as it is when the colour space is sRGB. Throws std::bad_alloc.
  std::shared_ptr<const DecodedPicture> toRec709(std::shared_ptr<const DecodedPicture> picture) const;

 private:
  std::unique_ptr<ColorProcessor> processor_;
  bool srgb_;
};

/// The colours that the rules for file names of a configuration (`config` as in ViewSettings) give a
/// picture. Null without a configuration, and where only its default rule fits: then the file itself says
/// what its colours are. A colour space that cannot be used is named by a line on the console, once, and
/// gives null. Any thread.
const InputColors* inputColors(const std::string& config, const std::string& file);

} // namespace host
