// The settings of one render, read from the container that RenderDocument gets. docs/rendering.md lists the
// numbers; an absent setting has the default given here.
#pragma once

#include <algorithm>
#include <cstdint>

#include "c4d_render.h"
#include "layer_table.h"
#include "shading_mode.h"
#include "view_settings.h"

namespace host::render {

/// Seed of the samples, used by the host's own renders: renders with different seeds can be averaged. Default
/// 0.
inline constexpr LONG seedSetting = 7102;
/// (LONG, 0 to 2, 0) A value of Denoising. A setting of the host's own, kept with the document.
inline constexpr LONG denoiseSetting = 7103;

/// (REAL, seconds, 0) The render ends when so much time has passed since the request, once every pixel has a
/// sample. 0: no limit. A setting of the host's own.
inline constexpr LONG secondsSetting = 7105;
/// (LONG, 0 or 1, 0) A value of SampleSpread. A setting of the host's own, kept with the document.
inline constexpr LONG spreadSetting = 7106;
/// (LONG, bits of LayerBit, 0) Layers of the film that the render fills. A setting of the host's own.
inline constexpr LONG layersSetting = 7104;
/// (BOOL, FALSE) Blur of what moves while the shutter is open. The next ones count when it is on.
inline constexpr LONG motionBlurSetting = 7110;
/// (REAL, frames, -0.25 and 0.25) Times at which the shutter opens and closes, from the frame's time on.
inline constexpr LONG shutterOpenSetting = 7111, shutterCloseSetting = 7112;
/// (LONG, 1 to 16, 2) Straight pieces that a motion is cut into.
inline constexpr LONG motionStepsSetting = 7113;

/// (LONG, 0 to 2, 0) A value of SampleKeeping. A setting of the host's own, for one render.
inline constexpr LONG keepSamplesSetting = 7108;
/// (LONG, from 0, 0) The number of the first sample of every pixel. Renders of different samples add up: the
/// sums of their films are the sums of one film. A setting of the host's own, for one render.
inline constexpr LONG firstSampleSetting = 7109;
/// (LONG, from 0, 0) The samples of a pixel in all, where this render is one of several whose films are
/// merged: textures are read as sharp as for so many. 0: this render is all. A setting of the host's own, for
/// one render.
inline constexpr LONG wholeSamplesSetting = 7114;

/// (LONG, a value of ShadingMode, 0) A setting of the host's own.
inline constexpr LONG shadingSetting = 7107;

/// (BOOL, TRUE) Paths end in a radiance cache where light takes many bounces. FALSE: they are followed to
/// their ends. A setting of the host's own, kept with the document.
inline constexpr LONG radianceCacheSetting = 7115;

/// Inclusive pixel bounds; empty when right < left or bottom < top.
struct Region {
  int left = 0, top = 0, right = -1, bottom = -1;
  bool empty() const { return right < left || bottom < top; }
  int width() const { return right - left + 1; }
  int height() const { return bottom - top + 1; }
};

/// none: samples stay inside the pixel. geometry: pixels on an edge between objects use the filter and take
/// all samples. best: every pixel uses the filter, and its noise decides the number of samples.
enum class AntiAliasing : std::uint8_t { none = 0, geometry = 1, best = 2 };
enum class Filter : std::uint8_t { still, animation, blend, sinc, area, cone, catmull, video };
/// end: the finished picture. live: after each doubling of the samples as well, by a smaller network.
enum class Denoising : std::uint8_t { off = 0, end = 1, live = 2 };
/// byNoise: more samples where the picture is noisy, at the cost of `samples` for every pixel. evenly: all
/// pixels have the same number.
enum class SampleSpread : std::uint8_t { byNoise = 0, evenly = 1 };
/// keep: the film keeps the samples, to go on from. goOn: likewise, and the render goes on from those that
/// the bitmap's film has; the number of samples is that of further ones.
enum class SampleKeeping : std::uint8_t { no = 0, keep = 1, goOn = 2 };
/// Estimators of light. The two one-sided ones exist to check the combination against.
enum class LightSampling : std::uint8_t { combined, lightsOnly, surfacesOnly };

struct RenderSettings {
  AntiAliasing antiAliasing = AntiAliasing::best;
  Filter filter = Filter::still;
  Region region;    // of the bitmap, already clipped
  int samples = 64; // a pixel, or as many as cost the same
  SampleSpread spread = SampleSpread::byNoise;
  float noise = 0.01f; // a pixel stops when its estimated error falls below; 0: never
  Denoising denoise = Denoising::off;
  double seconds = 0;                              // the picture is finished after them; 0: no limit
  unsigned layers = 0;                             // of the film, bits of LayerBit
  bool motionBlur = false;                         // while the shutter is open, see motionSteps
  double shutterOpen = -0.25, shutterClose = 0.25; // frames from the frame's time
  int motionSteps = 2;                             // straight pieces that a motion is cut into
  ShadingMode shading = ShadingMode::standard;     // modes without light count as previews
  bool preview = false;                            // engine 1: camera rays, simple light, no noise
  bool hardware = false;        // engine 2: the preview through OpenGL, where a driver is available
  bool blurry = true;           // false: roughness counts as 0 in reflection and transmission
  bool transparency = true;     // false: transmission counts as 0
  bool refraction = true;       // false: rays pass transparent surfaces without bending
  bool reflection = true;       // false: no mirror-like reflection
  bool limitReflection = false; // reflections show floors and the sky only
  bool shadow = true;
  bool limitShadow = false; // only lights with a size cast shadows
  bool globalIllumination = true;
  bool ambientOcclusion = false; // darkens crevices of surfaces that the camera sees
  bool caustics = false;         // mirror-like surfaces focus light onto diffuse ones
  int bounces = 12;
  std::uint32_t seed = 0;
  SampleKeeping keeping = SampleKeeping::no;
  std::uint32_t firstSample = 0; // its number in a pixel
  std::uint32_t cacheSeed = 0;   // of the radiance cache: the same in all frames, so that it cannot flicker
  bool radianceCache = true;     // where light takes many bounces
  int wholeSamples = 0;          // of all renders that are merged; 0: this one is all
  float clampIndirect = 10; // limit of a path's light from beyond a diffuse bounce, largest channel; 0: none
  LightSampling lightSampling = LightSampling::combined;
  ViewSettings view; // that the bitmap shows; the film holds the light itself

  /// Samples a pixel that the picture may get: with kept ones more may follow.
  int plannedSamples() const {
    if (wholeSamples > 0) return wholeSamples;
    return keeping == SampleKeeping::no ? samples : std::max(samples, 16);
  }
  /// Whether camera rays show a property of the surfaces instead of light.
  bool showsSurfaces() const { return shading > ShadingMode::clay; }
  /// Layers that the render fills: previews have none.
  unsigned wantedLayers() const { return preview ? 0 : layers; }
  /// Whether the finished picture is denoised, to be shown or as a layer beside the noisy one.
  bool denoises() const { return denoise != Denoising::off || (wantedLayers() & denoisedLayer); }
  /// Whether the path tracer notes the first hit of camera rays.
  bool firstHits() const { return !preview && (layers != 0 || denoises()); }
};

/// For a bitmap of this size. Values out of range are clamped.
RenderSettings readSettings(const BaseContainer& container, int width, int height);

/// Switches global illumination, ambient occlusion and caustics: each is on when the render data has its
/// video post, enabled. Null render data: all off.
void readVideoPosts(const RenderData* data, RenderSettings& settings);

} // namespace host::render
