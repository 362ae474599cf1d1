// Takes the noise out of a render.
#pragma once

#include <string>
#include <vector>

#include "denoiser.h"
#include "film_writer.h"
#include "first_hits.h"
#include "render_snapshot.h"

namespace host::render {

/// Denoises the region of one render by its colours and first hits. One thread at a time.
class FilmDenoiser {
 public:
  /// All must outlive it.
  FilmDenoiser(const RenderRequest& request, FilmWriter& film, const FirstHits& hits)
      : request_(request), film_(film), hits_(hits) {}

  /// Puts the denoised colours of the region into film and bitmap; alpha stays. False when the render was
  /// stopped meanwhile: the picture is then as it was. A picture that cannot be denoised stays as it was, and
  /// `problem` says why; later calls do nothing.
  bool run(denoise::Effort effort);
  const std::string& problem() const { return problem_; }

 private:
  void gather();
  void show(const std::vector<float>& clean);

  const RenderRequest& request_;
  FilmWriter& film_;
  const FirstHits& hits_;
  std::vector<float> color_, albedo_, normal_; // of the region, three a pixel
  std::string problem_;
};

} // namespace host::render
