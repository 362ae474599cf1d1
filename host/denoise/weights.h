// Trained weights of a denoising network, read from a tensor archive (TZA). Any thread.
#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace host::denoise {

/// A tensor archive that cannot be used; the text is a clause that follows the file's name.
struct WeightsError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// One 3 x 3 convolution.
struct Convolution {
  int inputs = 0, outputs = 0; // channels
  std::vector<float> kernel;   // [output][input][row][column]
  std::vector<float> bias;     // [output]
};

/// The convolutions of a U-Net with four levels by name: enc_conv0 to enc_conv5b, dec_conv4a to dec_conv0.
/// Their channels fit together: each takes what the one before it gives, decoders also the skip connection.
class Weights {
 public:
  /// Throws WeightsError for bytes that are not such an archive.
  explicit Weights(std::span<const std::byte> archive);

  const Convolution& operator[](const std::string& name) const { return convolutions_.at(name); }
  /// Channels of the picture that goes in: 3 (colour) or 9 (colour, albedo, normal).
  int inputs() const { return (*this)["enc_conv0"].inputs; }

 private:
  void checkChannels() const;

  std::map<std::string, Convolution> convolutions_;
};

} // namespace host::denoise
