#include "kept_render.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include "content_hash64.h"
#include "scene_fingerprint.h"

namespace host::render {
namespace {

constexpr char format[] = "1"; // of the values; another layout of a pixel gets another number
constexpr int mostLevel = 1 << 20;

std::string numberText(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string boxText(const Region& region) {
  return std::to_string(region.left) + "," + std::to_string(region.top) + "," + std::to_string(region.right) +
         "," + std::to_string(region.bottom);
}

template <class Number>
Number numberOf(const std::string& text, Number otherwise) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() ? value : otherwise;
}

/// A fact, and what users call it.
constexpr std::pair<const char*, const char*> labels[] = {
    {"size", "size"},
    {"region", "region"},
    {"scene", "scene"},
    {"camera", "camera or frame"},
    {"seed", "seed or frame"},
    {"first", "first sample"},
    {"antialiasing", "anti-aliasing"},
    {"filter", "reconstruction filter"},
    {"blurry", "blurry reflections"},
    {"transparency", "transparency"},
    {"refraction", "refraction"},
    {"reflection", "reflection"},
    {"shadow", "shadows"},
    {"gi", "global illumination"},
    {"ao", "ambient occlusion"},
    {"caustics", "caustics"},
    {"bounces", "depth of paths"},
    {"clamp", "limit of indirect light"},
    {"cache", "radiance cache"},
    {"shading", "shading"},
    {"whole", "number of samples in all"},
};

// Fingerprints say nothing to users.
std::string difference(const std::string& fact, const std::string& kept, const std::string& now) {
  const bool shown = fact != "scene" && fact != "camera" && fact != "seed";
  return "it was rendered with another " + factLabel(fact) +
         (shown ? " (" + kept + ", now " + now + ")" : std::string()) +
         ". Render with the scene, camera, frame, size and settings of that picture, or begin anew";
}

} // namespace

std::string factLabel(const std::string& fact) {
  const auto* found = std::find_if(std::begin(labels), std::end(labels),
                                   [&](const auto& label) { return fact == label.first; });
  return found == std::end(labels) ? fact : found->second;
}

KeptRender describeKept(const Snapshot& snapshot, const RenderSettings& s, int width, int height) {
  KeptRender made;
  made.noise = s.noise;
  made.layout.layers = s.wantedLayers();
  const auto flags = [](bool a, bool b) { return numberText((a ? 1 : 0) + (b ? 2 : 0)); };
  made.facts = {{"size", std::to_string(width) + "x" + std::to_string(height)},
                {"region", boxText(s.region)},
                {"scene", sceneFingerprint(snapshot)},
                {"camera", cameraFingerprint(snapshot.camera)},
                {"seed", std::to_string(s.seed)},
                {"first", std::to_string(s.firstSample)},
                {"antialiasing", numberText(static_cast<int>(s.antiAliasing))},
                {"filter", numberText(static_cast<int>(s.filter))},
                {"blurry", numberText(s.blurry)},
                {"transparency", numberText(s.transparency)},
                {"refraction", numberText(s.refraction)},
                {"reflection", flags(s.reflection, s.limitReflection)},
                {"shadow", flags(s.shadow, s.limitShadow)},
                {"gi", numberText(s.globalIllumination)},
                {"ao", numberText(s.ambientOcclusion)},
                {"caustics", numberText(s.caustics)},
                {"bounces", numberText(s.bounces)},
                {"clamp", numberText(static_cast<double>(s.clampIndirect))},
                {"cache", numberText(s.radianceCache)},
                {"shading", numberText(static_cast<int>(s.shading))}};
  if (s.wholeSamples > 0) made.facts.emplace_back("whole", std::to_string(s.wholeSamples));
  return made;
}

std::string sampleCheck(const std::vector<float>& values) {
  ContentHash64 hash;
  hash.add(values);
  return hash.text();
}

std::string textOf(const KeptRender& kept) {
  std::string text = std::string("format=") + format + "\nlevel=" + std::to_string(kept.level) +
                     "\nnoise=" + numberText(static_cast<double>(kept.noise)) +
                     "\nlayers=" + std::to_string(kept.layout.layers) +
                     "\nlooks=" + (kept.layout.looks ? "1" : "0") +
                     "\ncovers=" + std::to_string(kept.layout.covers) + "\ncheck=" + kept.check +
                     "\nscene-facts=" + kept.layerFacts + "\n";
  for (const auto& [name, value] : kept.facts)
    text += name + "=" + value + "\n";
  return text;
}

std::optional<KeptRender> keptRenderOf(const std::string& text) {
  KeptRender kept;
  std::istringstream lines(text);
  bool known = false;
  for (std::string line; std::getline(lines, line);) {
    const auto equals = line.find('=');
    if (equals == line.npos) return std::nullopt;
    const std::string name = line.substr(0, equals), value = line.substr(equals + 1);
    if (name == "format")
      known = value == format;
    else if (name == "level")
      kept.level = numberOf(value, 0);
    else if (name == "noise")
      kept.noise = numberOf(value, 0.0f);
    else if (name == "layers")
      kept.layout.layers = numberOf(value, 0u) & allLayers();
    else if (name == "looks")
      kept.layout.looks = value == "1";
    else if (name == "covers")
      kept.layout.covers = std::clamp(numberOf(value, 0), 0, 1 << 16);
    else if (name == "check")
      kept.check = value;
    else if (name == "scene-facts")
      kept.layerFacts = value;
    else
      kept.facts.emplace_back(name, value);
  }
  if (!known || kept.level < 1 || kept.level > mostLevel) return std::nullopt;
  return kept;
}

std::string whyNotGoOn(const FilmSamples* samples, const KeptRender& now) {
  if (!samples) return "it holds no samples to go on from. Render it with --resumable first";
  const auto kept = keptRenderOf(samples->render);
  if (!kept) return "its samples are of another version of the program. Begin anew";
  for (const auto& [name, value] : now.facts) {
    const auto found = std::find_if(kept->facts.begin(), kept->facts.end(),
                                    [&wanted = name](const auto& fact) { return fact.first == wanted; });
    if (found == kept->facts.end()) return "its samples are damaged. Use a copy of the file, or begin anew";
    if (found->second != value) return difference(name, found->second, value);
  }
  if (sampleCheck(samples->data) != kept->check)
    return "its samples were changed, as by storing them as 16-bit floats. Use the file as it was "
           "rendered, or begin anew";
  return {};
}

int samplesBehind(const FilmSamples* samples) {
  const auto kept = samples ? keptRenderOf(samples->render) : std::nullopt;
  return kept ? kept->level : 0;
}

} // namespace host::render
