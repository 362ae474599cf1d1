// Edits of render settings, video posts and the time range; see scene_edits.h.
#pragma once

#include "c4d_document.h"
#include "identity.h"
#include "lens_settings.h"

namespace host {

/// A value of the active render data, by RDATA_... .
bool setRenderValue(BaseDocument& document, LONG id, const GeData& value);
/// The lens effects that go with the document.
bool setLensEffects(BaseDocument& document, const LensSettings& settings);
/// Renders will fill these layers as well, bits of LayerBit.
bool wantLayers(BaseDocument& document, unsigned layers);
/// A video post of a type, last; the host's own have their names. 0 when the type is there already.
Identity addVideoPost(BaseDocument& document, LONG type);
bool removeVideoPost(BaseDocument& document, Identity post);
bool switchVideoPost(BaseDocument& document, Identity post, bool on);

/// Frame rate 1 to 1000; the range in frames, the last not before the first. The preview range follows.
bool setTimeRange(BaseDocument& document, LONG fps, LONG firstFrame, LONG lastFrame);

} // namespace host
