// Takes the noise out of a finished render.
#pragma once

#include "render_snapshot.h"

namespace host::render {

/// Denoises the region of the request in film and bitmap; alpha stays. False when the render was stopped
/// meanwhile: the picture is then as it was. Throws denoise::DenoiseError, also with the picture as it was.
bool denoiseFilm(const RenderRequest& request);

} // namespace host::render
