// A film's layer as colours.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "shown_layers.h"
#include "view_transform.h"

namespace host {

/// Pixels of a layer that are no finite numbers.
struct FaultCount {
  std::size_t nan = 0, infinite = 0;
  bool any() const { return nan + infinite > 0; }
};

/// The rows of one layer as they are on screen. Pixels with NaN are magenta, pixels with an infinity cyan,
/// whatever the view.
class LayerRows {
 public:
  static constexpr std::array<unsigned char, 3> nanColor{255, 0, 255}, infiniteColor{0, 255, 255};

  /// A layer of the film by its name in `shownLayers`.
  LayerRows(std::shared_ptr<const Film> film, const std::string& name);
  /// False when the film has no such layer: then all is black.
  bool isThere() const { return there_; }

  /// Takes the layer's values as they are now; before `read`. Uses the workers. Throws std::bad_alloc.
  void keep();
  /// Red, green and blue of each pixel of a row. Any thread, several at a time.
  void read(const ViewTransform& view, int y, unsigned char* rgb) const;
  const FaultCount& faults() const { return faults_; }
  /// The values that are black and white, or the ends of the false colours; of the first channel.
  std::pair<float, float> range() const { return {low_[0], high_[0]}; }

 private:
  enum Mark : std::uint8_t { good, notNumber, infinite };
  void takeRow(int y, float* to) const;
  void take(int x, int y, float* to) const;
  void findRange();
  void color(const float* value, unsigned char* rgb) const;
  static std::uint8_t mark(float* value);

  std::shared_ptr<const Film> film_;
  LayerKind kind_ = LayerKind::light;
  bool there_ = false, shown_ = false, beauty_ = false;
  std::vector<FilmLayerPtr> layers_; // several of a matte
  std::vector<float> values_;        // three a pixel; of ids one is used
  std::vector<std::uint8_t> marks_;
  std::array<float, 3> low_{}, high_{1, 1, 1};
  FaultCount faults_;
};

/// The colour of an ID in layers and mattes, 0 to 1: from its bits, so that it is the same everywhere.
std::array<float, 3> idColor(float id) noexcept;
/// Black, blue, cyan, green, yellow, red, white for 0 to 1.
std::array<float, 3> heatColor(float part) noexcept;

} // namespace host
