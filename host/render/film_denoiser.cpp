#include "film_denoiser.h"

#include <algorithm>

#include "worker_threads.h"

namespace host::render {

bool FilmDenoiser::run(denoise::Effort effort) {
  if (!problem_.empty()) return true;
  gather();
  const Region& region = request_.settings.region;
  try {
    const auto clean = denoise::denoise(
        {region.width(), region.height(), color_.data(), albedo_.data(), normal_.data()}, effort,
        [&](double) { return !request_.hooks.stopped || !request_.hooks.stopped(); });
    if (!clean) return false;
    show(*clean);
  } catch (const denoise::DenoiseError& error) {
    problem_ = std::string("The picture was not denoised: ") + error.what() + ".";
  }
  return true;
}

void FilmDenoiser::gather() {
  const Region& region = request_.settings.region;
  const auto width = static_cast<std::size_t>(region.width());
  for (std::vector<float>* values : {&color_, &albedo_, &normal_})
    values->resize(width * static_cast<std::size_t>(region.height()) * 3);
  eachRow(region.height(), [&](int row) {
    std::size_t pixel = static_cast<std::size_t>(row) * width;
    for (int x = region.left; x <= region.right; ++x, ++pixel) {
      float rgba[4];
      film_.film().getColor(x, region.top + row, rgba);
      const Vec3 albedo = hits_.albedo(pixel), normal = hits_.normal(pixel);
      std::copy_n(rgba, 3, &color_[pixel * 3]);
      std::copy_n(&albedo.x, 3, &albedo_[pixel * 3]);
      std::copy_n(&normal.x, 3, &normal_[pixel * 3]);
    }
  });
}

void FilmDenoiser::show(const std::vector<float>& clean) {
  const Region& region = request_.settings.region;
  film_.addDenoised();
  eachRow(region.height(), [&](int row) {
    const float* next = &clean[static_cast<std::size_t>(row) * static_cast<std::size_t>(region.width()) * 3];
    for (int x = region.left; x <= region.right; ++x, next += 3)
      film_.putDenoised(x, region.top + row, next);
  });
}

} // namespace host::render
