#include "desk_look.h"

#include "lens_effects.h"
#include "worker_threads.h"

namespace host {

void applyDesk(const DeskLook& look, const Film& film, std::vector<float>& light) {
  const LightMixer mixer(film, look.mix);
  if (mixer.changes())
    eachRow(film.height(), [&](int y) { mixer.mixRow(y, light.data() + 3 * film.pixelAt(0, y)); });
  if (look.lens.any()) applyLens(look.lens, film.width(), film.height(), light);
}

} // namespace host
