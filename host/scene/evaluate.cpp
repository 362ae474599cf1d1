#include "evaluate.h"

#include <algorithm>
#include <cmath>

#include "document.h"
#include "generated_mesh.h"
#include "parameters.h"
#include "track_paths.h"

namespace host {

namespace {

// Values of another type's tracks are ignored; a curve may overshoot what the parameter may hold.
void applyParameter(TrackPath path, const std::vector<double>& v, ObjectState& object) {
  const LONG id = parameterOf(path, object.type);
  if (id == 0 || !std::all_of(v.begin(), v.end(), [](double part) { return std::isfinite(part); })) return;
  if (path == trackLightColor) {
    object.data.SetVector(id, {std::max(v[0], 0.0), std::max(v[1], 0.0), std::max(v[2], 0.0)});
  } else {
    constexpr double widest = 3.13, narrowest = 1e-3; // radians
    object.data.SetReal(id,
                        path == trackCameraYfov ? std::clamp(v[0], narrowest, widest) : std::max(v[0], 0.0));
  }
}

void applyTrack(const Track& track, double seconds, Pose& pose, ObjectState& object) {
  const std::vector<double> v = sampleCurve(*track.curve, seconds, track.path == TrackPath::rotation);
  switch (track.path) {
  case TrackPath::translation:
    pose.translation = {v[0], v[1], v[2]};
    break;
  case TrackPath::rotation:
    pose.rotation = {v[0], v[1], v[2], v[3]};
    break;
  case TrackPath::scale:
    pose.scale = {v[0], v[1], v[2]};
    break;
  case TrackPath::weights:
    for (std::size_t i = 0; i < std::min(v.size(), object.weights.size()); ++i)
      if (const auto weight = static_cast<float>(v[i]); std::isfinite(weight)) object.weights[i] = weight;
    break;
  default:
    applyParameter(track.path, v, object);
  }
}

} // namespace

LONG parameterOf(TrackPath path, LONG type) {
  if (path == trackLightColor) return type == Olight ? param::lightColor : 0;
  if (path == trackLightIntensity) return type == Olight ? param::lightIntensity : 0;
  if (path == trackCameraYfov) return type == Ocamera ? param::cameraYfov : 0;
  return 0;
}

void applyTracks(ObjectState& object, double seconds) {
  if (!object.tracks) return;
  Pose pose = object.pose ? *object.pose : poseOf(object.local);
  bool moved = false;
  unsigned done = 0; // bits of properties; each follows its first track
  for (const Track& track : *object.tracks) {
    const unsigned property = 1U << static_cast<unsigned>(track.path);
    if (done & property) continue;
    done |= property;
    applyTrack(track, seconds, pose, object);
    moved = moved || track.path <= TrackPath::scale;
  }
  if (!moved) return;
  object.pose = pose;
  object.local = matrixOf(pose);
}

namespace {

Real lengthOf(const Vector& v) {
  return std::sqrt(Dot(v, v));
}

// Keeps the axes' lengths. -Z points at the target, y upwards.
void lookAt(ObjectState& object, const Vector& target) {
  Matrix world = worldOf(object);
  const Vector back = world.off - target;
  const Real distance = lengthOf(back);
  if (!(distance > 0) || !std::isfinite(distance)) return;
  const Vector z = back * (1 / distance);
  Vector x = Cross({0, 1, 0}, z);
  const Real side = lengthOf(x);
  x = side > 1e-9 ? x * (1 / side) : Vector(1, 0, 0);
  const Vector y = Cross(z, x);
  world = {world.off, x * lengthOf(world.v1), y * lengthOf(world.v2), z * lengthOf(world.v3)};
  const ObjectState* parent = parentOf(object);
  object.local = parent ? worldOf(*parent).Inverse() * world : world;
  object.pose.reset();
}

void runExpressions(DocumentState& document, ObjectState& object) {
  for (const NodeState* tag = object.tags.first(); tag; tag = tag->next) {
    if (tag->type != Ttargetexpression || !param::flag(*tag, EXPRESSION_ENABLE)) continue;
    const NodeState* target = findNode(document, tag->data.GetBaseLink(param::targetLink).GetIdentity());
    if (target && target != &object && target->kind == NodeKind::object)
      lookAt(object, worldOf(static_cast<const ObjectState&>(*target)).off);
  }
}

} // namespace

void applyTracks(DocumentState& document) {
  const double seconds = document.time.Get();
  forEachObject(document.children, [&](ObjectState& object) { applyTracks(object, seconds); });
  document.posed = true;
}

void applyExpressions(DocumentState& document) {
  forEachObject(document.children, [&](ObjectState& object) {
    if (object.tags.first()) runExpressions(document, object);
  });
}

double lastKey(const DocumentState& document) {
  double last = 0;
  forEachObject(document.children, [&](const ObjectState& object) {
    if (!object.tracks) return;
    for (const Track& track : *object.tracks)
      if (!track.curve->times.empty()) last = std::max<double>(last, track.curve->times.back());
  });
  return last;
}

} // namespace host

Bool BaseDocument::ExecutePasses(BaseThread* thread, Bool animation, Bool expressions, Bool caches,
                                 BUILDFLAGS) {
  const auto stopped = [thread] { return thread && thread->TestBreak(); };
  host::DocumentState& document = *host::stateOf(this);
  const std::lock_guard lock(document.mutex);
  if (stopped()) return FALSE;
  if (animation) host::applyTracks(document);
  if (stopped()) return FALSE;
  if (expressions) host::applyExpressions(document);
  if (stopped()) return FALSE;
  if (caches && !host::prepareMeshes(document, document.lod, thread)) return FALSE;
  return stopped() ? FALSE : TRUE;
}
