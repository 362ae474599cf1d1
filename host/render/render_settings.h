// The settings of one render, read from the container that RenderDocument gets. What a number means stands in
// the host's table of render settings; a setting that is absent has the value given here.
#pragma once

#include <cstdint>

#include "c4d_render.h"

namespace host::render {

/// A setting of the host's own renders: which samples are taken. Several renders with different ones may be
/// averaged. Absent: 0.
inline constexpr LONG seedSetting = 7102;

/// Inclusive pixel bounds; empty when right < left or bottom < top.
struct Region {
  int left = 0, top = 0, right = -1, bottom = -1;
  bool empty() const { return right < left || bottom < top; }
  int width() const { return right - left + 1; }
  int height() const { return bottom - top + 1; }
};

/// none: samples spread over the pixel alone. geometry: also pixels on an edge between objects use the filter
/// and take all samples. best: all pixels use the filter, and take samples by their noise.
enum class AntiAliasing : std::uint8_t { none = 0, geometry = 1, best = 2 };
enum class Filter : std::uint8_t { still, animation, blend, sinc, area, cone, catmull, video };
/// How camera paths find light. The two one-sided kinds exist to check the combination against them.
enum class LightSampling : std::uint8_t { combined, lightsOnly, surfacesOnly };

struct RenderSettings {
  AntiAliasing antiAliasing = AntiAliasing::best;
  Filter filter = Filter::still;
  Region region;                // of the bitmap, already clipped
  int samples = 64;             // most samples a pixel
  float noise = 0.01f;          // a pixel stops when its estimated error falls below; 0: never
  bool preview = false;         // engine 1: camera rays, simple light, no noise
  bool hardware = false;        // the preview through OpenGL where a driver is there
  bool blurry = true;           // false: roughness counts as 0 in reflection and transmission
  bool transparency = true;     // false: transmission counts as 0
  bool refraction = true;       // false: rays pass transparent surfaces without bending
  bool reflection = true;       // false: no mirror-like reflection
  bool limitReflection = false; // reflections show floors and the sky only
  bool shadow = true;
  bool limitShadow = false; // only lights with a size cast shadows
  bool globalIllumination = true;
  bool ambientOcclusion = false; // darkens crevices on what the camera sees
  bool caustics = false;         // light through and off mirror-like surfaces onto diffuse ones
  int bounces = 12;
  std::uint32_t seed = 0;
  float clampIndirect = 10; // largest channel of what one path brings from beyond a diffuse bounce; 0: none
  LightSampling lightSampling = LightSampling::combined;
};

/// Of a bitmap of this size. Values out of range are moved to the nearest that works.
RenderSettings readSettings(const BaseContainer& container, int width, int height);

/// Switches global illumination, ambient occlusion and caustics by the video posts of the render data: each
/// is on when its post is there and enabled. Null render data: all off.
void readVideoPosts(const RenderData* data, RenderSettings& settings);

} // namespace host::render
