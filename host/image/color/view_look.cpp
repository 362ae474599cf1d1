#include "view_look.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "worker_threads.h"

namespace host {
namespace {

/// Places light on an axis that is linear inside each stop: a float's own bits, which rise by as much in
/// each. Light 0 is at place 0; an offset keeps the steps near black finite.
struct Axis {
  int lowest, stops, steps; // from 2^lowest; steps a stop, a power of two

  int last() const noexcept { return stops * steps; } // the last node
  float offset() const noexcept {
    return std::bit_cast<float>(static_cast<std::uint32_t>(lowest + 127) << 23);
  }

  float place(float light) const noexcept {
    const float from = offset(), raised = light > 0 ? light + from : from; // NaN too
    const std::uint32_t above = std::bit_cast<std::uint32_t>(raised) - std::bit_cast<std::uint32_t>(from);
    const float scaled =
        static_cast<float>(static_cast<std::int32_t>(above)) * (static_cast<float>(steps) / 8388608.0f);
    return std::min(scaled, static_cast<float>(last()));
  }
  float light(int node) const noexcept {
    const std::uint32_t step = 8388608u / static_cast<std::uint32_t>(steps);
    const std::uint32_t bits =
        std::bit_cast<std::uint32_t>(offset()) + step * static_cast<std::uint32_t>(node);
    return std::bit_cast<float>(bits) - offset();
  }
};

float cut(float value) noexcept {
  return value > 0 ? std::min(value, 1.0f) : 0;
}

class DirectLook final : public ViewLook {
 public:
  explicit DirectLook(ViewFunction function) : function_(std::move(function)) {}
  void show(const float* rgb, float* display, std::size_t pixels) const noexcept override {
    std::transform(rgb, rgb + 3 * pixels, display, [](float light) { return light > 0 ? light : 0; });
    function_(display, pixels);
    std::transform(display, display + 3 * pixels, display, cut);
  }

 private:
  ViewFunction function_;
};

class TonedLook final : public ViewLook {
 public:
  TonedLook(ViewFunction function, ViewLookPtr look)
      : function_(std::move(function)), look_(std::move(look)) {}
  void show(const float* rgb, float* display, std::size_t pixels) const noexcept override {
    std::transform(rgb, rgb + 3 * pixels, display, [](float light) { return light > 0 ? light : 0; });
    function_(display, pixels);
    look_->show(display, display, pixels);
  }

 private:
  ViewFunction function_;
  ViewLookPtr look_;
};

class CurveLook final : public ViewLook {
 public:
  explicit CurveLook(const ViewFunction& function) {
    for (int node = 0; node <= axis.last(); ++node) {
      float rgb[3];
      std::fill_n(rgb, 3, axis.light(node));
      function(rgb, 1);
      values_.push_back(cut(rgb[0]));
    }
    values_.push_back(values_.back()); // the neighbour of the last node
  }
  void show(const float* rgb, float* display, std::size_t pixels) const noexcept override {
    std::transform(rgb, rgb + 3 * pixels, display, [this](float light) {
      const float place = axis.place(light);
      const auto node = static_cast<std::size_t>(place);
      return values_[node] + (place - static_cast<float>(node)) * (values_[node + 1] - values_[node]);
    });
  }

 private:
  static constexpr Axis axis{-12, 20, 256};
  std::vector<float> values_;
};

class CubeLook final : public ViewLook {
 public:
  explicit CubeLook(const ViewFunction& function) : nodes_(std::size_t{side} * side * side) {
    eachRow(side * side, [&](int line) {
      std::array<float, 3 * side> colors{};
      for (int r = 0; r < side; ++r) {
        colors[static_cast<std::size_t>(3 * r)] = axis.light(r);
        colors[static_cast<std::size_t>(3 * r + 1)] = axis.light(line % side);
        colors[static_cast<std::size_t>(3 * r + 2)] = axis.light(line / side);
      }
      function(colors.data(), side);
      Node* to = nodes_.data() + static_cast<std::size_t>(line) * side;
      for (std::size_t r = 0; r < side; ++r)
        to[r].value = Four{cut(colors[3 * r]), cut(colors[3 * r + 1]), cut(colors[3 * r + 2]), 0};
    });
  }

  void show(const float* rgb, float* display, std::size_t pixels) const noexcept override {
    for (; pixels > 0; --pixels, rgb += 3, display += 3) {
      const Four value = at(Four{rgb[0], rgb[1], rgb[2], 0});
      for (int i = 0; i < 3; ++i)
        display[i] = value[i];
    }
  }

 private:
  static constexpr Axis axis{-10, 16, 4};
  static constexpr int side = 16 * 4 + 1;
  // Four numbers at a time, on any processor.
  using Four = float __attribute__((vector_size(16)));
  using FourInts = std::int32_t __attribute__((vector_size(16)));
  struct Node {
    Four value;
  };

  static Four lower(Four a, Four b) noexcept { return a < b ? a : b; }

  /// As `Axis::place`, for three channels. The last cell holds the last node too.
  static Four places(Four light, FourInts& cell) noexcept {
    const Four none{}, raised = (light > none ? light : none) + axis.offset();
    const FourInts above = reinterpret_cast<FourInts>(raised) - std::bit_cast<std::int32_t>(axis.offset());
    const float last = static_cast<float>(axis.last());
    const Four place =
        lower(__builtin_convertvector(above, Four) * (static_cast<float>(axis.steps) / 8388608.0f),
              Four{last, last, last, last});
    cell = __builtin_convertvector(lower(place, Four{last, last, last, last} - 1), FourInts);
    return place;
  }

  /// The cell is divided into six tetrahedra along its diagonal; the order of the fractions chooses one. The
  /// selections take no branches: colours change from pixel to pixel.
  Four at(Four light) const noexcept {
    FourInts cell;
    const Four part = places(light, cell) - __builtin_convertvector(cell, Four);
    const float r = part[0], g = part[1], b = part[2];
    const float most = std::max(std::max(r, g), b), least = std::min(std::min(r, g), b);
    const float middle = std::max(std::min(r, g), std::min(std::max(r, g), b));
    const int first = r >= g ? (r >= b ? 1 : side * side) : (g >= b ? side : side * side);
    const int last = r < g ? (r < b ? 1 : side * side) : (g < b ? side : side * side);
    const Node* node = nodes_.data() + (cell[0] + side * (cell[1] + side * cell[2]));
    constexpr int far = 1 + side + side * side;
    return node[0].value * (1 - most) + node[first].value * (most - middle) +
           node[far - last].value * (middle - least) + node[far].value * least;
  }

  std::vector<Node> nodes_;
};

} // namespace

ViewLookPtr directLook(ViewFunction function) {
  return std::make_shared<DirectLook>(std::move(function));
}
ViewLookPtr tonedLook(ViewFunction function, ViewLookPtr look) {
  return std::make_shared<TonedLook>(std::move(function), std::move(look));
}
ViewLookPtr curveLook(const ViewFunction& function) {
  return std::make_shared<CurveLook>(function);
}
ViewLookPtr cubeLook(const ViewFunction& function) {
  return std::make_shared<CubeLook>(function);
}

} // namespace host
