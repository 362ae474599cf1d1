#include "light_group_edits.h"

#include <algorithm>
#include <cmath>

#include "light_groups.h"
#include "node_lookup.h"
#include "parameters.h"

namespace host {

namespace {

constexpr Real most = 1e12; // of an intensity, as the attributes have it

Vector times(const Vector& a, const Vector& b) {
  return {a.x * b.x, a.y * b.y, a.z * b.z};
}

class Scaler {
 public:
  explicit Scaler(std::span<const LightGroupGain> gains) : gains_(gains) {}
  bool changed() const { return changed_; }

  void scale(ObjectState& object) {
    if (object.type == Olight) {
      if (choose(object, param::lightGroup, render::unnamedLights))
        put(object, param::lightIntensity, {param::lightColor});
    } else if (object.type == Osky) {
      if (choose(object, param::skyGroup, render::unnamedSky))
        put(object, param::skyStrength, {param::skyColor, param::skyHorizon, param::skyGround});
    }
  }

  void scale(MaterialState& material) {
    if (!choose(material, param::materialLightGroup, render::unnamedLights)) return;
    if (param::flag(material, param::switchLuminance) && param::vector(material, param::emission) != Vector())
      put(material, param::emissionStrength, {param::emission});
    if (!param::flag(material, param::unlit)) return;
    const Vector lit = times(param::vector(material, param::baseColor), gain_);
    setColor(material, param::baseColor, {std::min(lit.x, 1.0), std::min(lit.y, 1.0), std::min(lit.z, 1.0)});
  }

 private:
  // Takes over the node's factor. False when it changes nothing.
  bool choose(const NodeState& node, LONG groupId, const char* otherwise) {
    const std::string group = render::lightGroupName(param::text(node, groupId).GetUTF8(), otherwise);
    const auto found = std::find_if(gains_.begin(), gains_.end(),
                                    [&](const LightGroupGain& gain) { return gain.group == group; });
    if (found == gains_.end()) return false;
    gain_ = found->gain;
    largest_ = std::max({gain_.x, gain_.y, gain_.z});
    const bool usable = std::isfinite(gain_.x) && std::isfinite(gain_.y) && std::isfinite(gain_.z) &&
                        std::min({gain_.x, gain_.y, gain_.z}) >= 0;
    return usable && gain_ != Vector(1, 1, 1);
  }

  void put(NodeState& node, LONG strengthId, std::initializer_list<LONG> colorIds) {
    const Real strength = param::real(node, strengthId);
    node.data.SetReal(strengthId, std::min(strength * largest_, most));
    changed_ = true;
    if (largest_ <= 0) return;
    for (const LONG id : colorIds)
      setColor(node, id, times(param::vector(node, id), gain_ * (1 / largest_)));
  }

  void setColor(NodeState& node, LONG id, const Vector& color) {
    if (param::vector(node, id) == color) return;
    node.data.SetVector(id, color);
    changed_ = true;
  }

  std::span<const LightGroupGain> gains_;
  Vector gain_;
  Real largest_ = 1;
  bool changed_ = false;
};

} // namespace

bool scaleLightGroups(BaseDocument& document, std::span<const LightGroupGain> gains) {
  DocumentState& state = stateIn(document);
  Scaler scaler(gains);
  forEachObject(state.children, [&](ObjectState& object) { scaler.scale(object); });
  for (NodeState* node = state.materials.first(); node; node = node->next)
    scaler.scale(static_cast<MaterialState&>(*node));
  return scaler.changed();
}

} // namespace host
