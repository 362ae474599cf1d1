// From a pixel of a film to the object or material of the scene. Main thread.
#pragma once

#include <string>

#include "c4d_document.h"
#include "film.h"
#include "identity.h"

namespace host {

enum class PickTarget { object, material };

struct FilmPick {
  Identity node = 0;    // of the document; 0: none
  std::string name;     // as the film knows it
  std::string sentence; // for the user: what was picked, or the reason that nothing was
};

/// Looks up the pixel's number in the film's layer of objects or materials, and its node in the document.
FilmPick pickNode(const Film& film, int x, int y, PickTarget target, const BaseDocument* document);

} // namespace host
