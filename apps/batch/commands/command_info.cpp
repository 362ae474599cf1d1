#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "number_text.h"
#include "scene_facts.h"
#include "scene_load.h"
#include "scene_setup.h"

namespace batch {
namespace {

using Json = nlohmann::ordered_json;

constexpr double degrees = 57.29577951308232;

std::string number(double value, int decimals) {
  return std::isfinite(value) ? host::fixedText(value, decimals) : "not finite";
}

std::string text(const Vector& v) {
  return "(" + number(v.x, 3) + ", " + number(v.y, 3) + ", " + number(v.z, 3) + ")";
}

Json json(const Vector& v) {
  return {v.x, v.y, v.z};
}

/// A line; only the first entry of a list has the title.
void row(const std::string& title, const std::string& value) {
  std::printf("%-11s %s\n", title.c_str(), value.c_str());
}

template <class List, class Text>
void rows(const std::string& title, const List& list, const Text& toText) {
  if (list.empty()) row(title, "none");
  bool first = true;
  for (const auto& entry : list) {
    row(first ? title : "", toText(entry));
    first = false;
  }
}

std::string cameraText(const CameraFacts& camera) {
  return camera.name + (camera.orthographic
                            ? " (orthographic, " + number(camera.height, 3) + " m high)"
                            : " (perspective, " + number(camera.angle * degrees, 1) + " degrees)");
}

std::string lightText(const LightFacts& light) {
  return light.name + " (" + light.kind + ", intensity " + number(light.intensity, 3) + ", colour " +
         text(light.color) + ")";
}

std::string animationText(const AnimationFacts& animation) {
  return (animation.name.empty() ? "(without a name)" : animation.name) + " (" + number(animation.from, 2) +
         " to " + number(animation.to, 2) + " s, " + std::to_string(animation.tracks) +
         (animation.tracks == 1 ? " track)" : " tracks)");
}

void printText(const std::string& file, const Scene& scene, const SceneFacts& facts) {
  row("scene", file);
  row("objects", std::to_string(facts.counts.objects));
  row("meshes", std::to_string(facts.counts.meshes));
  row("triangles", std::to_string(facts.counts.triangles));
  row("materials", std::to_string(facts.counts.materials));
  row("textures", std::to_string(facts.counts.textures));
  rows("cameras", facts.cameras, cameraText);
  rows("lights", facts.lights, lightText);
  rows("animations", facts.animations, animationText);
  std::vector<std::string> variants = facts.variants;
  if (facts.variant >= 0) variants[static_cast<std::size_t>(facts.variant)] += " (shown)";
  rows("variants", variants, [](const std::string& name) { return name; });
  row("frames", std::to_string(facts.firstFrame) + " to " + std::to_string(facts.lastFrame) + " at " +
                    std::to_string(facts.fps) + " a second");
  row("bounds",
      facts.counts.meshes == 0 ? "empty" : text(facts.counts.low) + " to " + text(facts.counts.high) + " m");
  rows("missing", scene.missing, [](const std::string& name) { return name; });
}

Json toJson(const std::string& file, const Scene& scene, const SceneFacts& facts) {
  Json out{{"scene", file},
           {"objects", facts.counts.objects},
           {"meshes", facts.counts.meshes},
           {"triangles", facts.counts.triangles},
           {"materials", facts.counts.materials},
           {"textures", facts.counts.textures}};
  out["cameras"] = out["lights"] = out["animations"] = Json::array();
  for (const CameraFacts& camera : facts.cameras) {
    Json entry{{"name", camera.name}, {"projection", camera.orthographic ? "orthographic" : "perspective"}};
    if (camera.orthographic) {
      entry["height"] = camera.height;
    } else {
      entry["yfov"] = camera.angle;
    }
    out["cameras"].push_back(std::move(entry));
  }
  for (const LightFacts& light : facts.lights) {
    out["lights"].push_back(Json{{"name", light.name},
                                 {"kind", light.kind},
                                 {"intensity", light.intensity},
                                 {"color", json(light.color)}});
  }
  for (const AnimationFacts& animation : facts.animations) {
    out["animations"].push_back(Json{{"name", animation.name},
                                     {"tracks", animation.tracks},
                                     {"from", animation.from},
                                     {"to", animation.to}});
  }
  out["variants"] = facts.variants;
  out["variant"] = nullptr;
  if (facts.variant >= 0) out["variant"] = facts.variants[static_cast<std::size_t>(facts.variant)];
  out["fps"] = facts.fps;
  out["frames"] = {facts.firstFrame, facts.lastFrame};
  out["bounds"] = nullptr;
  if (facts.counts.meshes > 0)
    out["bounds"] = Json{{"low", json(facts.counts.low)}, {"high", json(facts.counts.high)}};
  out["missing"] = scene.missing;
  out["warnings"] = scene.warnings;
  return out;
}

} // namespace

ExitCode runInfo(const InfoOptions& options) {
  Messages messages(false);
  const Scene scene = loadScene(options.scene, messages);
  if (!options.variant.empty()) chooseVariant(*scene.document, options.variant);
  const SceneFacts facts = factsOf(*scene.document);
  if (options.json) {
    // Names in invalid UTF-8 become readable instead of breaking the output.
    const std::string out =
        toJson(options.scene, scene, facts).dump(2, ' ', false, Json::error_handler_t::replace);
    std::printf("%s\n", out.c_str());
  } else {
    printText(options.scene, scene, facts);
  }
  return ExitCode::done;
}

} // namespace batch
