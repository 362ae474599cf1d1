#include "view_look.h"

#include <algorithm>
#include <array>
#include <vector>

#include "light_axis.h"

namespace host {
namespace {

using Light = std::array<float, 3 * ViewLook::mostPixels>;

/// Calls the function with light that is not negative.
void call(const ViewFunction& function, const float* rgb, Light& result, std::size_t pixels) {
  std::transform(rgb, rgb + 3 * pixels, result.begin(), [](float light) { return light > 0 ? light : 0; });
  function(result.data(), pixels);
}

class DirectLook final : public ViewLook {
 public:
  explicit DirectLook(ViewFunction function) : function_(std::move(function)) {}
  void show(const float* rgb, std::int16_t* display, std::size_t pixels) const noexcept override {
    Light shown;
    call(function_, rgb, shown, pixels);
    std::transform(shown.begin(), shown.begin() + 3 * pixels, display, toDisplaySteps);
  }

 private:
  ViewFunction function_;
};

class TonedLook final : public ViewLook {
 public:
  TonedLook(ViewFunction function, ViewLookPtr look)
      : function_(std::move(function)), look_(std::move(look)) {}
  void show(const float* rgb, std::int16_t* display, std::size_t pixels) const noexcept override {
    Light toned;
    call(function_, rgb, toned, pixels);
    look_->show(toned.data(), display, pixels);
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
      values_.push_back(toDisplaySteps(rgb[0]));
    }
  }
  void show(const float* rgb, std::int16_t* display, std::size_t pixels) const noexcept override {
    constexpr std::int32_t half = 1 << (LightAxis::fractionBits - 1);
    std::transform(rgb, rgb + 3 * pixels, display, [this](float light) {
      const std::int32_t place = axis.place(light);
      const std::int16_t* value = values_.data() + axis.nodeOf(place);
      const std::int32_t more = (value[1] - value[0]) * axis.fractionOf(place);
      return static_cast<std::int16_t>(value[0] + ((more + half) >> LightAxis::fractionBits));
    });
  }

 private:
  static constexpr LightAxis axis{-12, 20, 8};
  std::vector<std::int16_t> values_;
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

} // namespace host
