#include "key_edits.h"

#include <algorithm>
#include <functional>

#include "evaluate.h"
#include "key_curves.h"
#include "node_lookup.h"
#include "parameters.h"
#include "track_paths.h"

namespace host {

namespace {

using CurveChange = std::function<Curve(const Curve&)>;

const Tracks& tracksOf(const ObjectState& object) {
  static const Tracks none;
  return object.tracks ? *object.tracks : none;
}

template <class Visit>
void forEachTrack(const BaseDocument& document, std::span<const Identity> objects, const Visit& visit) {
  for (const Identity identity : objects)
    if (const ObjectState* object = objectIn(*stateOf(&document), identity))
      for (const Track& track : tracksOf(*object))
        visit(track);
}

bool sameCurve(const Curve& a, const Curve& b) {
  return a.interpolation == b.interpolation && a.times == b.times && a.values == b.values;
}

// The tracks with changed curves; those without keys are left out.
TracksPtr changed(const TracksPtr& tracks, const CurveChange& change) {
  Tracks result;
  bool same = true;
  for (const Track& track : *tracks) {
    auto curve = std::make_shared<Curve>(change(*track.curve));
    const bool kept = sameCurve(*curve, *track.curve);
    same = same && kept;
    if (kept)
      result.push_back(track);
    else if (!curve->times.empty())
      result.push_back({track.path, track.animation, std::move(curve)});
  }
  if (same) return tracks;
  return result.empty() ? nullptr : std::make_shared<const Tracks>(std::move(result));
}

bool assign(BaseDocument& document, Identity identity, const TracksPtr& tracks) {
  ObjectState* object = objectIn(stateIn(document), identity);
  if (!object || object->tracks == tracks) return false;
  object->tracks = tracks;
  applyTracks(*object, document.GetTime().Get());
  return true;
}

bool change(BaseDocument& document, std::span<const Identity> objects, const CurveChange& change) {
  bool done = false;
  for (const Identity identity : objects) {
    const ObjectState* object = objectIn(stateIn(document), identity);
    if (object && object->tracks && assign(document, identity, changed(object->tracks, change))) done = true;
  }
  return done;
}

std::vector<float> numbers(std::initializer_list<Real> parts) {
  std::vector<float> result;
  for (const Real part : parts)
    result.push_back(static_cast<float>(part));
  return result;
}

// The paths of an object that get keys, with the values that it has now.
std::vector<std::pair<TrackPath, std::vector<float>>> valuesOf(const ObjectState& object) {
  const Pose pose = object.pose ? *object.pose : poseOf(object.local);
  const auto& [x, y, z, w] = pose.rotation;
  std::vector<std::pair<TrackPath, std::vector<float>>> values{
      {TrackPath::translation, numbers({pose.translation.x, pose.translation.y, pose.translation.z})},
      {TrackPath::rotation, numbers({x, y, z, w})},
      {TrackPath::scale, numbers({pose.scale.x, pose.scale.y, pose.scale.z})}};
  if (object.type == Olight) {
    const Vector color = param::vector(object, param::lightColor);
    values.emplace_back(trackLightColor, numbers({color.x, color.y, color.z}));
    values.emplace_back(trackLightIntensity, numbers({param::real(object, param::lightIntensity)}));
  } else if (object.type == Ocamera && param::integer(object, param::cameraProjection) == 0) {
    values.emplace_back(trackCameraYfov, numbers({param::real(object, param::cameraYfov)}));
  }
  return values;
}

void setKey(Tracks& tracks, TrackPath path, std::span<const float> value, long frame, long fps) {
  auto track = std::find_if(tracks.begin(), tracks.end(), [&](const Track& t) { return t.path == path; });
  if (track == tracks.end()) {
    Curve empty;
    empty.width = widthOf(path);
    if (!tracks.empty()) empty.interpolation = tracks.front().curve->interpolation;
    const std::uint32_t animation = tracks.empty() ? 0 : tracks.front().animation;
    tracks.push_back({path, animation, std::make_shared<const Curve>(std::move(empty))});
    track = tracks.end() - 1;
  }
  track->curve =
      std::make_shared<const Curve>(withKey(*track->curve, frame, fps, value, path == TrackPath::rotation));
}

} // namespace

std::set<long> keyFrames(const BaseDocument& document, std::span<const Identity> objects) {
  std::set<long> frames;
  const long fps = document.GetFps();
  forEachTrack(document, objects, [&](const Track& track) { frames.merge(keyFrames(*track.curve, fps)); });
  return frames;
}

std::optional<long> keyBeside(const std::set<long>& frames, long frame, bool next) {
  if (next) {
    const auto after = frames.upper_bound(frame);
    return after == frames.end() ? std::nullopt : std::optional(*after);
  }
  const auto at = frames.lower_bound(frame);
  return at == frames.begin() ? std::nullopt : std::optional(*std::prev(at));
}

bool setKeys(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  const long fps = document.GetFps(), frame = document.GetTime().GetFrame(static_cast<Real>(fps));
  bool done = false;
  for (const Identity identity : objects) {
    ObjectState* object = objectIn(state, identity);
    if (!object) continue;
    if (state.animationNames.empty()) state.animationNames.emplace_back("Animation");
    Tracks tracks = tracksOf(*object);
    for (const auto& entry : valuesOf(*object))
      setKey(tracks, entry.first, entry.second, frame, fps);
    object->tracks = std::make_shared<const Tracks>(std::move(tracks));
    applyTracks(*object, document.GetTime().Get());
    done = true;
  }
  return done;
}

bool deleteKeys(BaseDocument& document, std::span<const Identity> objects, long frame) {
  const long fps = document.GetFps();
  return change(document, objects,
                [frame, fps](const Curve& curve) { return withoutKeys(curve, frame, fps); });
}

HeldTracks holdTracks(const BaseDocument& document, std::span<const Identity> objects) {
  HeldTracks held;
  for (const Identity identity : objects)
    if (const ObjectState* object = objectIn(*stateOf(&document), identity); object && object->tracks)
      held.emplace_back(identity, object->tracks);
  return held;
}

bool moveKeys(BaseDocument& document, const HeldTracks& held, long from, long to) {
  const long fps = document.GetFps();
  const auto move = [from, to, fps](const Curve& curve) { return withMovedKeys(curve, from, to, fps); };
  bool done = false;
  for (const auto& entry : held)
    if (assign(document, entry.first, changed(entry.second, move))) done = true;
  return done;
}

std::optional<Interpolation> interpolationOf(const BaseDocument& document,
                                             std::span<const Identity> objects) {
  std::optional<Interpolation> found;
  bool mixed = false;
  forEachTrack(document, objects, [&](const Track& track) {
    mixed = mixed || (found && *found != track.curve->interpolation);
    found = track.curve->interpolation;
  });
  return mixed ? std::nullopt : found;
}

bool setInterpolation(BaseDocument& document, std::span<const Identity> objects,
                      Interpolation interpolation) {
  return change(document, objects,
                [interpolation](const Curve& curve) { return withInterpolation(curve, interpolation); });
}

} // namespace host
