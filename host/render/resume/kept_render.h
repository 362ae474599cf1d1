// The render that a film's samples belong to, as text: a later render goes on only where it would have taken
// the same samples. Any thread.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "film_samples.h"
#include "render_settings.h"
#include "snapshot.h"

namespace host::render {

/// The values of a pixel that the samples hold.
struct SampleLayout {
  unsigned layers = 0; // of the film, bits of LayerBit
  bool looks = false;  // albedo and normal, for layers or the denoiser
  int covers = 0;      // the most objects of a pixel, with ID mattes
};

/// Thrown where values cannot be those of a render with these facts.
struct DamagedSamples : std::exception {
  const char* what() const noexcept override { return "damaged samples"; }
};

struct KeptRender {
  int level = 0;   // samples a pixel, or what cost the same
  float noise = 0; // the threshold
  SampleLayout layout;
  std::string check;      // of the values, `sampleCheck`
  std::string layerFacts; // of the scene, see layer_sums.h
  /// All that decides about the samples, as names and values: "size", "region", "first" ...
  std::vector<std::pair<std::string, std::string>> facts;
};

/// The facts of a render of `width` x `height` pixels.
KeptRender describeKept(const Snapshot& snapshot, const RenderSettings& settings, int width, int height);
/// A fact's name as users know it.
std::string factLabel(const std::string& fact);
std::string sampleCheck(const std::vector<float>& values);

std::string textOf(const KeptRender& kept);
/// Nothing when the text is not one of these.
std::optional<KeptRender> keptRenderOf(const std::string& text);

/// Why a render with these facts cannot go on from the samples, as a sentence for the user; empty when it
/// can. `samples` may be null.
std::string whyNotGoOn(const FilmSamples* samples, const KeptRender& now);

/// Samples a pixel of a film that a render can go on from; 0: it has none.
int samplesBehind(const FilmSamples* samples);

} // namespace host::render
