// Documents built in code. Main thread.
#pragma once

#include "document.h"

namespace testscene {

/// A new object at the end of the list.
inline host::ObjectState* add(host::NodeList& list, LONG type, const char* name) {
  host::ObjectState* object = host::makeObject(type);
  object->name = name;
  list.append(*object);
  return object;
}

/// The material "red", then "blue".
inline void addMaterials(host::DocumentState& document) {
  for (const char* name : {"red", "blue"}) {
    host::NodeState* material = host::makeNode(host::NodeKind::material, Mmaterial);
    material->name = name;
    document.materials.append(*material);
  }
}

} // namespace testscene
