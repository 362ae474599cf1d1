// Takes the noise out of float pictures with a trained network.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host::denoise {

/// A picture that cannot be denoised. The text is a sentence without its point: what, where, what to do.
struct DenoiseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Three floats a pixel, rows from the top. The pointers are the caller's.
struct NoisyPicture {
  int width = 0, height = 0;     // 1 to 32768
  const float* color = nullptr;  // linear, Rec. 709 primaries
  const float* albedo = nullptr; // 0 to 1; null without layers
  const float* normal = nullptr; // unit vectors; null without layers
};

enum class Effort { live, final }; // the small network and the full one; without layers always the full one

/// The picture without noise, three floats a pixel, never below 0. Its result is the same at every run on one
/// machine. `goOn` is called from time to time with the share that is done, 0 to 1; false ends the work and
/// the result is empty. Weights come from the program's folder share/lumenara/denoise. Throws DenoiseError (a
/// weight file or the library is missing or damaged, not enough memory). Any thread, one picture at a time.
std::optional<std::vector<float>> denoise(const NoisyPicture& picture, Effort effort,
                                          const std::function<bool(double)>& goOn);
/// Likewise, with the weights in another folder.
std::optional<std::vector<float>> denoise(const NoisyPicture& picture, Effort effort, const Filename& weights,
                                          const std::function<bool(double)>& goOn);

} // namespace host::denoise
