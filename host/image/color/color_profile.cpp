#include "color_profile.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace host {
namespace {

using Context = std::unique_ptr<std::remove_pointer_t<cmsContext>, void (*)(cmsContext)>;
using Profile = std::unique_ptr<void, cmsBool (*)(cmsHPROFILE)>;
using Transform = std::unique_ptr<void, void (*)(cmsHTRANSFORM)>;

constexpr cmsUInt32Number wholePicture = cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE;
// Fast tables take longer to make than a few colours take without them.
constexpr cmsUInt32Number fewColors = wholePicture | cmsFLAGS_NOOPTIMIZE;

Profile owned(cmsHPROFILE profile) {
  return Profile(profile, cmsCloseProfile);
}

Transform makeTransform(cmsContext context, const Profile& from, cmsUInt32Number fromFormat,
                        const Profile& to, cmsUInt32Number toFormat, cmsUInt32Number flags) {
  return Transform(cmsCreateTransformTHR(context, from.get(), fromFormat, to.get(), toFormat,
                                         INTENT_RELATIVE_COLORIMETRIC, flags),
                   cmsDeleteTransform);
}

/// sRGB, or its linear light for floats.
Profile target(cmsContext context, bool linear) {
  if (!linear) return owned(cmsCreate_sRGBProfileTHR(context));
  const cmsCIExyY white{0.3127, 0.3290, 1.0};
  const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
  const std::unique_ptr<cmsToneCurve, void (*)(cmsToneCurve*)> straight(cmsBuildGamma(context, 1.0),
                                                                        cmsFreeToneCurve);
  if (!straight) throw std::bad_alloc();
  cmsToneCurve* curves[] = {straight.get(), straight.get(), straight.get()};
  return owned(cmsCreateRGBProfileTHR(context, &white, &primaries, curves));
}

/// A pixel is four values of this size, of which the colours take the first ones.
cmsUInt32Number format(cmsUInt32Number space, cmsUInt32Number channels, cmsUInt32Number bytes, bool floats) {
  return FLOAT_SH(floats ? 1u : 0u) | COLORSPACE_SH(space) | EXTRA_SH(4 - channels) | CHANNELS_SH(channels) |
         BYTES_SH(bytes);
}

struct Space {
  cmsColorSpaceSignature signature;
  cmsUInt32Number space, channels;
  const char* name;
};

Space spaceOf(FileColors colors) {
  switch (colors) {
  case FileColors::grey:
    return {cmsSigGrayData, PT_GRAY, 1, "grey"};
  case FileColors::inks:
    return {cmsSigCmykData, PT_CMYK, 4, "cyan, magenta, yellow and black"};
  default:
    return {cmsSigRgbData, PT_RGB, 3, "red, green and blue"};
  }
}

std::string refusal(const Profile& profile, const Space& space) {
  if (!profile) return "it is damaged";
  const cmsProfileClassSignature kind = cmsGetDeviceClass(profile.get());
  if (kind != cmsSigInputClass && kind != cmsSigDisplayClass && kind != cmsSigOutputClass &&
      kind != cmsSigColorSpaceClass)
    return "it is not a profile of a device's colours";
  if (cmsGetColorSpace(profile.get()) != space.signature)
    return "it is for other colours than the picture's " + std::string(space.name);
  return {};
}

/// Whether 8-bit colours hardly change.
bool changesNothing(cmsContext context, const Profile& from, const Profile& to, const Space& space) {
  if (space.signature == cmsSigCmykData) return false;
  const Transform transform = makeTransform(context, from, format(space.space, space.channels, 1, false), to,
                                            format(PT_RGB, 3, 1, false), fewColors);
  if (!transform) return false;
  constexpr unsigned steps = 6, step = 255 / (steps - 1);
  for (unsigned i = 0; i < steps * steps * steps; ++i) {
    std::array<unsigned char, 4> before{}, after{};
    const std::array<unsigned, 3> place{i % steps, i / steps % steps, i / steps / steps};
    for (std::size_t c = 0; c < 3; ++c)
      before[c] = static_cast<unsigned char>(step * place[space.channels == 1 ? 0 : c]);
    cmsDoTransform(transform.get(), before.data(), after.data(), 1);
    for (std::size_t c = 0; c < 3; ++c)
      if (std::abs(before[c] - after[c]) > 2) return false;
  }
  return true;
}

template <class Value>
void convertRows(const Transform& transform, std::vector<Value>& pixels, int width) {
  const std::size_t row = static_cast<std::size_t>(width) * 4;
  for (std::size_t at = 0; at < pixels.size(); at += row)
    cmsDoTransform(transform.get(), pixels.data() + at, pixels.data() + at,
                   static_cast<cmsUInt32Number>(width));
}

template <class Value>
void opaque(std::vector<Value>& pixels, Value full) {
  for (std::size_t i = 3; i < pixels.size(); i += 4)
    pixels[i] = full;
}

void forgetInks(RawPicture& raw) {
  if (raw.colors != FileColors::inks) return;
  opaque<unsigned char>(raw.picture.bytes, 255);
  opaque<std::uint16_t>(raw.picture.words, 65535);
  raw.colors = FileColors::rgb;
}

/// Empty when all went well, else the reason.
std::string convert(RawPicture& raw) {
  const Context context(cmsCreateContext(nullptr, nullptr), cmsDeleteContext);
  if (!context) throw std::bad_alloc();
  const Space space = spaceOf(raw.colors);
  const Profile from = owned(cmsOpenProfileFromMemTHR(context.get(), raw.profile.data(),
                                                      static_cast<cmsUInt32Number>(raw.profile.size())));
  if (std::string reason = refusal(from, space); !reason.empty()) return reason;
  const bool floats = !raw.picture.floats.empty();
  const Profile to = target(context.get(), floats);
  if (!to) throw std::bad_alloc();
  if (!floats && changesNothing(context.get(), from, to, space)) return {};
  const cmsUInt32Number bytes = floats ? 4 : raw.picture.words.empty() ? 1 : 2;
  const Transform transform =
      makeTransform(context.get(), from, format(space.space, space.channels, bytes, floats), to,
                    format(PT_RGB, 3, bytes, floats), wholePicture);
  if (!transform) return "its tables cannot be used";
  convertRows(transform, raw.picture.bytes, raw.picture.width);
  convertRows(transform, raw.picture.words, raw.picture.width);
  convertRows(transform, raw.picture.floats, raw.picture.width);
  forgetInks(raw);
  return {};
}

template <class Value>
void mix(std::vector<Value>& pixels, std::uint64_t full) {
  for (std::size_t i = 0; i < pixels.size(); i += 4)
    for (std::size_t c = 0; c < 3; ++c)
      pixels[i + c] = static_cast<Value>(((full - pixels[i + c]) * (full - pixels[i + 3]) + full / 2) / full);
}

} // namespace

void mixInks(RawPicture& raw) {
  if (raw.colors != FileColors::inks) return;
  mix(raw.picture.bytes, 255);
  mix(raw.picture.words, 65535);
  forgetInks(raw);
}

bool convertColors(RawPicture& raw, std::string* reason) {
  *reason = raw.profile.empty() ? std::string() : convert(raw);
  mixInks(raw);
  return reason->empty();
}

} // namespace host
