#include "camera_edits.h"

#include <cmath>

#include "c4d_view.h"
#include "node_lookup.h"
#include "parameters.h"

namespace host {

Identity chosenCamera(const BaseDocument& document) {
  Identity selected = 0;
  forEachObject(stateOf(&document)->children, [&](const ObjectState& object) {
    if (!selected && object.type == Ocamera && (object.bits & BIT_ACTIVE)) selected = object.identity;
  });
  return selected ? selected : viewCamera(document);
}

Identity viewCamera(const BaseDocument& document) {
  const BaseDraw* view = document.GetActiveBaseDraw();
  const BaseObject* through = view ? view->GetSceneCamera(&document) : nullptr;
  return through && through->IsInstanceOf(Ocamera) ? through->GetIdentity() : 0;
}

bool isCameraLocked(const BaseDocument& document, Identity camera) {
  const auto* object = static_cast<const ObjectState*>(findNode(*stateOf(&document), camera));
  return object && object->type == Ocamera && param::flag(*object, param::cameraLocked);
}

void lockCamera(BaseDocument& document, Identity camera, bool lock) {
  ObjectState* object = objectIn(stateIn(document), camera);
  if (object && object->type == Ocamera) object->data.SetBool(param::cameraLocked, lock ? TRUE : FALSE);
}

bool focusCamera(BaseDocument& document, Identity camera, const Vector& point) {
  ObjectState* object = objectIn(stateIn(document), camera);
  if (!object || object->type != Ocamera) return false;
  const Matrix world = worldOf(*object);
  const Real axis = std::sqrt(Dot(world.v3, world.v3));
  const Real distance = axis > 0 ? Dot(world.off - point, world.v3) / axis : 0;
  if (!(distance > 0) || !std::isfinite(distance)) return false;
  object->data.SetReal(param::cameraFocusDistance, distance);
  return true;
}

} // namespace host
