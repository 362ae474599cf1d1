// Picture files as films.
#pragma once

#include <memory>
#include <string>

#include "film.h"

namespace host {

struct FilmFile {
  std::shared_ptr<Film> film; // null after a failure, and for files of integers
  bool hasAlpha = false;
  std::string error; // a sentence for the user; empty when all is well
};

/// Reads the light of a file of floats (OpenEXR, Radiance, float TIFF), and every layer of an OpenEXR file.
/// NaN and infinities stay as they are. Any thread; nothing is thrown.
FilmFile loadFilm(const std::string& path) noexcept;

} // namespace host
