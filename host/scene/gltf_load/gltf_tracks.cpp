#include "gltf_tracks.h"

#include <algorithm>
#include <tuple>

#include "gltf_pointers.h"

namespace host {

namespace {

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
    const std::size_t wanted = path == TrackPath::weights ? width : widthOf(path);
    curve.width = static_cast<std::uint32_t>(width);
    return width == wanted && std::is_sorted(curve.times.begin(), curve.times.end());
  }

  const GltfFile& file_;
  LoadContext& context_;
  std::map<std::tuple<int, int, Interpolation, TrackPath>, CurvePtr> curves_;
};

class TrackReader {
 public:
  TrackReader(const GltfFile& file, LoadContext& context)
      : file_(file), context_(context), curves_(file, context) {}

  FileTracks read() {
    for (std::size_t a = 0; a < file_.model.animations.size(); ++a) {
      for (const tinygltf::AnimationChannel& channel : file_.model.animations[a].channels)
        readChannel(a, channel);
      readPointers(a, member(element(member(file_.root, "animations"), a), "channels"));
    }
    if (dropped_ > 0)
      context_.warn("Animation keys that are out of order or of the wrong number were left out (" +
                    std::to_string(dropped_) + " tracks); export the animation again if it is missing.");
    if (lost_ > 0)
      context_.warn("Animations of properties that are not in the file, or that cannot be animated here, "
                    "were left out (" +
                    std::to_string(lost_) + " tracks); transforms, lights and cameras can be animated.");
    return std::move(tracks_);
  }

 private:
  void readChannel(std::size_t animation, const tinygltf::AnimationChannel& channel) {
    const auto path = pathOf(channel.target_path);
    if (channel.target_node < 0 || !path) return;
    if (static_cast<std::size_t>(channel.target_node) >= file_.model.nodes.size())
      throw SceneError("animation " + std::to_string(animation) + " moves a node that is not in it");
    add(tracks_.nodes[channel.target_node], animation, channel.sampler, *path);
  }

  // The parser leaves out channels without a node, so they are read from the JSON.
  void readPointers(std::size_t animation, const Json& channels) {
    for (std::size_t i = 0; i < countOf(channels); ++i) {
      const Json& channel = element(channels, i);
      const Json& target = member(channel, "target");
      if (textIn(target, "path") != "pointer") continue;
      Tracks* tracks = nullptr;
      const auto pointer = readPointer(textIn(extension(target, "KHR_animation_pointer"), "pointer"));
      if (pointer) tracks = tracksOf(*pointer);
      if (tracks)
        add(*tracks, animation,
            indexIn(channel, "sampler", file_.model.animations[animation].samplers.size(), "sampler"),
            pointer->path);
      else
        ++lost_;
    }
  }

  Tracks* tracksOf(const AnimationPointer& pointer) {
    const auto of = [&](std::map<int, Tracks>& list, std::size_t count) {
      return static_cast<std::size_t>(pointer.index) < count ? &list[pointer.index] : nullptr;
    };
    switch (pointer.list) {
    case AnimationPointer::List::nodes:
      return of(tracks_.nodes, file_.model.nodes.size());
    case AnimationPointer::List::cameras:
      return of(tracks_.cameras, file_.model.cameras.size());
    default:
      return of(tracks_.lights, countOf(member(extension(file_.root, "KHR_lights_punctual"), "lights")));
    }
  }

  void add(Tracks& tracks, std::size_t animation, int sampler, TrackPath path) {
    const auto& samplers = file_.model.animations[animation].samplers;
    if (sampler < 0 || static_cast<std::size_t>(sampler) >= samplers.size())
      throw SceneError("animation " + std::to_string(animation) + " refers to keys that are not in it");
    if (const CurvePtr curve = curves_.read(samplers[static_cast<std::size_t>(sampler)], path))
      tracks.push_back({path, static_cast<std::uint32_t>(animation), curve});
    else
      ++dropped_;
  }

  const GltfFile& file_;
  LoadContext& context_;
  CurveReader curves_;
  FileTracks tracks_;
  std::size_t dropped_ = 0, lost_ = 0;
};

} // namespace

FileTracks readTracks(const GltfFile& file, LoadContext& context) {
  FileTracks tracks = TrackReader(file, context).read();
  for (auto* list : {&tracks.nodes, &tracks.lights, &tracks.cameras})
    std::erase_if(*list, [](const auto& entry) { return entry.second.empty(); });
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
