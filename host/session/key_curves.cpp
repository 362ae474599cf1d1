#include "key_curves.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

struct Key {
  float time = 0;
  std::vector<float> in, value, out; // tangents only of cubic curves, in units a second
  bool changed = false;
};

std::vector<Key> keysOf(const Curve& curve) {
  const std::size_t width = curve.width;
  const bool cubic = curve.interpolation == Interpolation::cubic;
  const std::size_t stride = cubic ? 3 * width : width;
  std::vector<Key> keys;
  if (curve.values.size() < curve.times.size() * stride) return keys;
  const float* at = curve.values.data();
  for (const float time : curve.times) {
    Key key{time, {}, {}, {}, false};
    const float* value = cubic ? at + width : at;
    if (cubic) key.in.assign(at, at + width), key.out.assign(value + width, value + 2 * width);
    key.value.assign(value, value + width);
    keys.push_back(std::move(key));
    at += stride;
  }
  return keys;
}

// The slope between the neighbours; a key at an end, or one that its neighbours do not pass through, is flat,
// so that a curve does not swing beyond its keys.
void smooth(std::vector<Key>& keys, std::size_t index) {
  Key& key = keys[index];
  key.in.assign(key.value.size(), 0);
  if (index > 0 && index + 1 < keys.size()) {
    const Key &before = keys[index - 1], &after = keys[index + 1];
    const float span = after.time - before.time;
    for (std::size_t i = 0; i < key.value.size() && span > 0; ++i)
      if ((key.value[i] - before.value[i]) * (after.value[i] - key.value[i]) > 0)
        key.in[i] = (after.value[i] - before.value[i]) / span;
  }
  key.out = key.in;
}

Curve curveOf(std::vector<Key>& keys, Interpolation interpolation, std::uint32_t width) {
  const bool cubic = interpolation == Interpolation::cubic;
  if (cubic)
    for (std::size_t i = 0; i < keys.size(); ++i)
      if (keys[i].changed || (i > 0 && keys[i - 1].changed) || (i + 1 < keys.size() && keys[i + 1].changed))
        smooth(keys, i);
  Curve curve;
  curve.interpolation = interpolation;
  curve.width = width;
  for (const Key& key : keys) {
    curve.times.push_back(key.time);
    if (cubic) curve.values.insert(curve.values.end(), key.in.begin(), key.in.end());
    curve.values.insert(curve.values.end(), key.value.begin(), key.value.end());
    if (cubic) curve.values.insert(curve.values.end(), key.out.begin(), key.out.end());
  }
  return curve;
}

// Neighbours of keys that are taken away have to follow each other.
void dropKeys(std::vector<Key>& keys, long frame, long fps) {
  for (std::size_t i = 0; i < keys.size();) {
    if (frameOfKey(keys[i].time, fps) != frame) {
      ++i;
      continue;
    }
    if (i > 0) keys[i - 1].changed = true;
    if (i + 1 < keys.size()) keys[i + 1].changed = true;
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(i));
  }
}

void insertKey(std::vector<Key>& keys, Key key) {
  const auto place = std::upper_bound(keys.begin(), keys.end(), key.time,
                                      [](float time, const Key& other) { return time < other.time; });
  keys.insert(place, std::move(key));
}

// A quaternion and its negative are the same rotation; a spline between the two would turn the long way.
void keepSide(const std::vector<Key>& keys, Key& key) {
  if (keys.empty() || key.value.size() != 4) return;
  const auto after = std::find_if(keys.begin(), keys.end(), [&](const Key& k) { return k.time > key.time; });
  const Key& beside = after == keys.begin() ? *after : *(after - 1);
  float dot = 0;
  for (std::size_t i = 0; i < 4; ++i)
    dot += beside.value[i] * key.value[i];
  if (dot < 0)
    for (float& part : key.value)
      part = -part;
}

} // namespace

long frameOfKey(double seconds, long fps) {
  return std::lround(std::clamp(seconds * static_cast<double>(fps), -1e9, 1e9));
}

std::set<long> keyFrames(const Curve& curve, long fps) {
  std::set<long> frames;
  for (const float time : curve.times)
    frames.insert(frameOfKey(time, fps));
  return frames;
}

Curve withKey(const Curve& curve, long frame, long fps, std::span<const float> value, bool rotation) {
  std::vector<Key> keys = keysOf(curve);
  dropKeys(keys, frame, fps);
  Key key;
  key.time = static_cast<float>(static_cast<double>(frame) / static_cast<double>(fps));
  key.value.assign(value.begin(), value.end());
  key.changed = true;
  if (rotation) keepSide(keys, key);
  insertKey(keys, std::move(key));
  return curveOf(keys, curve.interpolation, static_cast<std::uint32_t>(value.size()));
}

Curve withoutKeys(const Curve& curve, long frame, long fps) {
  std::vector<Key> keys = keysOf(curve);
  dropKeys(keys, frame, fps);
  return curveOf(keys, curve.interpolation, curve.width);
}

Curve withMovedKeys(const Curve& curve, long from, long to, long fps) {
  if (from == to) return curve;
  std::vector<Key> keys = keysOf(curve), moved;
  for (const Key& key : keys)
    if (frameOfKey(key.time, fps) == from) moved.push_back(key);
  if (moved.empty()) return curve;
  dropKeys(keys, from, fps);
  dropKeys(keys, to, fps);
  for (Key& key : moved) {
    key.time += static_cast<float>(static_cast<double>(to - from) / static_cast<double>(fps));
    key.changed = true;
    insertKey(keys, std::move(key));
  }
  return curveOf(keys, curve.interpolation, curve.width);
}

Curve withInterpolation(const Curve& curve, Interpolation interpolation) {
  if (interpolation == curve.interpolation) return curve;
  std::vector<Key> keys = keysOf(curve);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys[i].changed = true;
    if (i == 0 || curve.width != 4) continue;
    float dot = 0;
    for (std::size_t k = 0; k < 4; ++k)
      dot += keys[i - 1].value[k] * keys[i].value[k];
    if (dot < 0)
      for (float& part : keys[i].value)
        part = -part;
  }
  return curveOf(keys, interpolation, curve.width);
}

} // namespace host
