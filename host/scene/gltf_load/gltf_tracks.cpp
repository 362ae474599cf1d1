#include "gltf_tracks.h"

#include <algorithm>
#include <tuple>

namespace host {

namespace {

std::optional<TrackPath> pathOf(const std::string& name) {
  if (name == "translation") return TrackPath::translation;
  if (name == "rotation") return TrackPath::rotation;
  if (name == "scale") return TrackPath::scale;
  if (name == "weights") return TrackPath::weights;
  return std::nullopt;
}

Interpolation interpolationOf(const std::string& name) {
  return name == "STEP"          ? Interpolation::step
         : name == "CUBICSPLINE" ? Interpolation::cubic
                                 : Interpolation::linear;
}

class CurveReader {
 public:
  CurveReader(const GltfFile& file, LoadContext& context) : file_(file), context_(context) {}

  // Null when the keys are invalid.
  CurvePtr read(const tinygltf::AnimationSampler& sampler, TrackPath path) {
    const auto key = std::tuple(sampler.input, sampler.output, interpolationOf(sampler.interpolation), path);
    const auto known = curves_.find(key);
    if (known != curves_.end()) return known->second;
    auto curve = std::make_shared<Curve>();
    curve->interpolation = interpolationOf(sampler.interpolation);
    curve->times = readFloats(file_, sampler.input, 1, context_);
    const std::size_t width = accessorWidth(file_, sampler.output);
    curve->values = readFloats(file_, sampler.output, width, context_);
    return curves_[key] = complete(*curve, path) ? curve : nullptr;
  }

 private:
  static bool complete(Curve& curve, TrackPath path) {
    const std::size_t keys = curve.times.size();
    const std::size_t per = curve.interpolation == Interpolation::cubic ? 3 : 1;
    if (keys == 0 || curve.values.empty() || curve.values.size() % (keys * per) != 0) return false;
    const std::size_t width = curve.values.size() / (keys * per);
    const std::size_t wanted = path == TrackPath::rotation ? 4 : path == TrackPath::weights ? width : 3;
    curve.width = static_cast<std::uint32_t>(width);
    return width == wanted && std::is_sorted(curve.times.begin(), curve.times.end());
  }

  const GltfFile& file_;
  LoadContext& context_;
  std::map<std::tuple<int, int, Interpolation, TrackPath>, CurvePtr> curves_;
};

} // namespace

std::map<int, Tracks> readTracks(const GltfFile& file, LoadContext& context) {
  std::map<int, Tracks> tracks;
  CurveReader curves(file, context);
  std::size_t dropped = 0;
  for (std::size_t a = 0; a < file.model.animations.size(); ++a) {
    const tinygltf::Animation& animation = file.model.animations[a];
    for (const tinygltf::AnimationChannel& channel : animation.channels) {
      const auto path = pathOf(channel.target_path);
      if (channel.target_node < 0 || !path) continue;
      if (static_cast<std::size_t>(channel.target_node) >= file.model.nodes.size())
        throw SceneError("animation " + std::to_string(a) + " moves a node that is not in it");
      if (channel.sampler < 0 || static_cast<std::size_t>(channel.sampler) >= animation.samplers.size())
        throw SceneError("animation " + std::to_string(a) + " refers to keys that are not in it");
      const CurvePtr curve =
          curves.read(animation.samplers[static_cast<std::size_t>(channel.sampler)], *path);
      if (curve)
        tracks[channel.target_node].push_back({*path, static_cast<std::uint32_t>(a), curve});
      else
        ++dropped;
    }
  }
  if (dropped > 0)
    context.warn("Animation keys that are out of order or of the wrong number were left out (" +
                 std::to_string(dropped) + " tracks); export the animation again if it is missing.");
  return tracks;
}

SkinPtr readSkin(const GltfFile& file, int index, const std::vector<Identity>& identities,
                 LoadContext& context) {
  if (index < 0 || static_cast<std::size_t>(index) >= file.model.skins.size())
    throw SceneError("it refers to skin " + std::to_string(index) + ", which is not in it");
  const tinygltf::Skin& source = file.model.skins[static_cast<std::size_t>(index)];
  auto skin = std::make_shared<Skin>();
  for (const int joint : source.joints) {
    if (joint < 0 || static_cast<std::size_t>(joint) >= identities.size())
      throw SceneError("skin " + std::to_string(index) + " has a joint that is not in it");
    skin->joints.push_back(identities[static_cast<std::size_t>(joint)]);
  }
  skin->inverseBind.resize(skin->joints.size());
  if (source.inverseBindMatrices < 0) return skin;
  const std::vector<float> numbers = readFloats(file, source.inverseBindMatrices, 16, context);
  if (numbers.size() < skin->joints.size() * 16)
    throw SceneError("skin " + std::to_string(index) + " has too few matrices for its joints");
  for (std::size_t i = 0; i < skin->joints.size(); ++i) {
    const float* m = numbers.data() + i * 16;
    skin->inverseBind[i] = {Vector(m[12], m[13], m[14]), Vector(m[0], m[1], m[2]), Vector(m[4], m[5], m[6]),
                            Vector(m[8], m[9], m[10])};
  }
  return skin;
}

} // namespace host
