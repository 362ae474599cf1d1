// Edits of the keys of objects: transforms, light color and intensity, a camera's field of view. They run
// inside `Edits::apply` or `Edits::update` as those of scene_edits.h do. Main thread, with the document's
// lock held.
#pragma once

#include <optional>
#include <set>
#include <utility>

#include "object_edits.h"

namespace host {

/// The frames at which the objects have keys.
std::set<long> keyFrames(const BaseDocument& document, std::span<const Identity> objects);
/// The frame of the next key after `frame`, or of the last one before it; nothing when none is there.
std::optional<long> keyBeside(const std::set<long>& frames, long frame, bool next);

/// Sets keys at the document's frame to the values that the objects have now.
bool setKeys(BaseDocument& document, std::span<const Identity> objects);
bool deleteKeys(BaseDocument& document, std::span<const Identity> objects, long frame);

/// The tracks of objects as they were when a drag of a key began.
using HeldTracks = std::vector<std::pair<Identity, TracksPtr>>;
HeldTracks holdTracks(const BaseDocument& document, std::span<const Identity> objects);
/// Moves the held keys of a frame, so that keys that a drag only passes stay what they are.
bool moveKeys(BaseDocument& document, const HeldTracks& held, long from, long to);

/// The interpolation that all curves of the objects share; nothing when they differ or none is there.
std::optional<Interpolation> interpolationOf(const BaseDocument& document, std::span<const Identity> objects);
/// Sets that of all curves of the objects.
bool setInterpolation(BaseDocument& document, std::span<const Identity> objects, Interpolation interpolation);

} // namespace host
