#include "link_values.h"

#include <algorithm>

#include "gltf_derive.h"
#include "parameters.h"

namespace host {

namespace {

constexpr std::size_t longestKey = 256;

std::string checkedKey(const Json& value, const char* name) {
  if (!value.is_string() || value.get_ref<const std::string&>().empty() ||
      value.get_ref<const std::string&>().size() > longestKey)
    throw LinkError("\"" + std::string(name) + "\" must be a text of 1 to 256 bytes.");
  return value.get<std::string>();
}

// A number that lies in a range, or the parameter keeps its default.
void put(BaseContainer& to, LONG id, const Json& from, const char* key, double low = 0, double high = 1e12) {
  const Json& value = member(from, key);
  if (value.is_null()) return;
  const auto number = maybeNumber(from, key);
  if (!number || *number < low || *number > high)
    throw LinkError("\"" + std::string(key) + "\" must be a number from " + std::to_string(low) + " to " +
                    std::to_string(high) + ".");
  to.SetReal(id, *number);
}

void putVector(BaseContainer& to, LONG id, const Json& from, const char* key) {
  if (member(from, key).is_null()) return;
  const auto vector = maybeVector(from, key);
  if (!vector) throw LinkError("\"" + std::string(key) + "\" must be a list of three numbers.");
  to.SetVector(id, *vector);
}

LONG choice(const Json& from, const char* key, std::initializer_list<const char*> names) {
  const std::string text = textIn(from, key);
  const auto found = std::find(names.begin(), names.end(), text);
  if (found == names.end()) throw LinkError("\"" + std::string(key) + "\" is unknown: \"" + text + "\".");
  return static_cast<LONG>(found - names.begin());
}

} // namespace

std::string linkKey(const Json& from, const char* name) {
  return checkedKey(member(from, name), name);
}

std::string optionalLinkKey(const Json& from, const char* name) {
  return member(from, name).is_null() ? std::string() : linkKey(from, name);
}

Matrix linkMatrix(const double* m) {
  for (int i = 0; i < 16; ++i)
    if (!std::isfinite(m[i])) throw LinkError("A matrix holds a number that is not finite.");
  return {Vector(m[12], m[13], m[14]), Vector(m[0], m[1], m[2]), Vector(m[4], m[5], m[6]),
          Vector(m[8], m[9], m[10])};
}

Matrix linkMatrix(const Json& list) {
  if (list.is_null()) return {};
  std::array<double, 16> numbers{};
  if (countOf(list) != 16) throw LinkError("\"matrix\" must be a list of 16 numbers.");
  for (std::size_t i = 0; i < 16; ++i) {
    if (!list[i].is_number()) throw LinkError("\"matrix\" must be a list of 16 numbers.");
    numbers[i] = list[i].get<double>();
  }
  return linkMatrix(numbers.data());
}

std::vector<std::string> linkKeys(const Json& message, const char* name) {
  const Json& list = member(message, name);
  if (!list.is_array()) throw LinkError("\"" + std::string(name) + "\" must be a list of keys.");
  std::vector<std::string> keys;
  for (const Json& key : list)
    keys.push_back(key.is_null() ? std::string() : checkedKey(key, name));
  return keys;
}

BaseContainer linkLight(const Json& light) {
  using namespace param;
  const LONG kind = choice(light, "kind", {"point", "spot", "sun", "rectangle", "disk"});
  BaseContainer to;
  to.SetLong(lightKind, kind);
  putVector(to, lightColor, light, "color");
  put(to, lightIntensity, light, "intensity");
  put(to, lightRange, light, "range");
  put(to, lightInnerCone, light, "inner", 0, 1.5708);
  put(to, lightOuterCone, light, "outer", 0, 1.5708);
  put(to, lightRadius, light, "radius");
  put(to, lightWidth, light, "width");
  put(to, lightHeight, light, "height");
  if (member(light, "shadow").is_boolean()) to.SetLong(lightShadow, flagIn(light, "shadow") ? 2 : 0);
  if (const std::string group = textIn(light, "group"); !group.empty())
    to.SetString(lightGroup, String(group));
  return to;
}

BaseContainer linkCamera(const Json& camera) {
  using namespace param;
  const bool parallel = member(camera, "ymag").is_number();
  BaseContainer to;
  to.SetLong(cameraProjection, parallel ? 1 : 0);
  put(to, cameraYfov, camera, "yfov", 1e-4, 3.14);
  put(to, cameraYmag, camera, "ymag", 1e-9);
  put(to, cameraNear, camera, "near");
  put(to, cameraFar, camera, "far");
  put(to, cameraAspect, camera, "aspect");
  if (parallel && maybeNumber(camera, "aspect"))
    to.SetReal(cameraXmag, *maybeNumber(camera, "ymag") * *maybeNumber(camera, "aspect"));
  put(to, cameraAperture, camera, "aperture");
  put(to, cameraFocusDistance, camera, "focus");
  if (member(camera, "blades").is_number()) {
    const double blades = numberIn(camera, "blades");
    to.SetLong(cameraBlades, static_cast<LONG>(std::clamp(blades, 0.0, 64.0)));
  }
  const Json& shift = member(camera, "shift");
  if (countOf(shift) >= 2 && shift[0].is_number() && shift[1].is_number()) {
    to.SetReal(cameraShiftX, std::clamp(shift[0].get<double>(), -10.0, 10.0));
    to.SetReal(cameraShiftY, std::clamp(shift[1].get<double>(), -10.0, 10.0));
  }
  return to;
}

BaseContainer linkSky(const Json& sky) {
  using namespace param;
  const LONG kind = choice(sky, "kind", {"none", "color", "gradient", "picture"});
  BaseContainer to;
  if (kind > 0) to.SetLong(skyKind, kind);
  putVector(to, skyColor, sky, "color");
  putVector(to, skyHorizon, sky, "horizon");
  putVector(to, skyGround, sky, "ground");
  put(to, skyRotation, sky, "rotation", -1e6, 1e6);
  put(to, skyStrength, sky, "strength");
  if (member(sky, "seen").is_boolean()) to.SetBool(skySeen, flagIn(sky, "seen") ? TRUE : FALSE);
  return to;
}

} // namespace host
