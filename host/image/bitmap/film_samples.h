// The samples behind a film: with them a render goes on later. Immutable, shared by copies of a film.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace host {

class Film;

struct FilmSamples {
  std::string render;      // the render that they belong to; the renderer writes and reads it
  int values = 0;          // of a pixel
  std::vector<float> data; // of the film's pixels, row after row
};
using FilmSamplesPtr = std::shared_ptr<const FilmSamples>;

/// The names that a file gives them: its text, and its channels "resume.000", "resume.001" ...
inline constexpr char samplesNote[] = "resume", samplesChannel[] = "resume.";

/// Turns the layers and the note of a file into the film's samples. Nothing happens when some are missing.
/// Throws std::bad_alloc.
void takeSamples(Film& film);

} // namespace host
