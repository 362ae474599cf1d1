// Data that the host keeps with a bitmap's pixels. Private to host/image.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>

#include "film.h"

namespace host {

/// Largest width and height of a picture, in pixels.
inline constexpr LONG maxPictureSide = 32768;

struct BitmapData {
  mutable std::mutex guard; // the film's handle: a program may ask for it while a renderer sets it
  std::shared_ptr<Film> film;
};

/// The most bytes that are asked for at once: three quarters of the machine's memory. Without the limit a
/// picture of 4 GB would be granted and the program killed when it fills it. Any thread.
std::size_t mostMemory() noexcept;
bool fitsMemory(std::size_t count) noexcept;

} // namespace host
