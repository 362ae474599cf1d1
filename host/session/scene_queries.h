// Flat rows for a desktop's managers. Values, without pointers into the document. Main thread.
#pragma once

#include <string>
#include <vector>

#include "c4d_document.h"
#include "c4d_render.h"
#include "identity.h"

namespace host {

enum class ObjectIcon {
  null,
  mesh,
  light,
  spotLight,
  distantLight,
  camera,
  sky,
  floor,
  subdivision,
  areaLight,
  diskLight
};
/// Of an object type; `lightKind` (param::lightKind) counts for lights.
ObjectIcon objectIcon(LONG type, LONG lightKind = 0);

struct ObjectRow {
  Identity identity = 0, parent = 0; // parent 0: at the top
  String name;
  LONG type = 0;
  ObjectIcon icon = ObjectIcon::null;
  int depth = 0;
  bool hasChildren = false;
  bool visibleEditor = true, visibleRender = true; // its own switches
  bool hiddenEditor = false, hiddenRender = false; // it or an ancestor is switched off
  bool selected = false, animated = false;
  bool isViewCamera = false;       // the render view looks through it
  std::vector<Identity> materials; // that its texture tags show, each once
  friend bool operator==(const ObjectRow&, const ObjectRow&) = default;
};

/// In document order, parents before their children.
std::vector<ObjectRow> objectRows(const BaseDocument& document);
/// The rows whose names contain the text (ignoring ASCII case), with their ancestors.
std::vector<ObjectRow> filterRows(const std::vector<ObjectRow>& rows, const String& text);
const char* typeName(LONG objectType); // "Light", ...; "Object" when unknown

struct MaterialRow {
  Identity identity = 0;
  String name;
  bool selected = false;
  int users = 0; // objects that show it
  friend bool operator==(const MaterialRow&, const MaterialRow&) = default;
};
std::vector<MaterialRow> materialRows(const BaseDocument& document);

/// A camera, or a light, which a view can look through as well.
struct CameraRow {
  Identity identity = 0; // 0: the view's own
  String name;
  bool current = false;
  friend bool operator==(const CameraRow&, const CameraRow&) = default;
};
/// The render view's own first, then the document's.
std::vector<CameraRow> cameraRows(const BaseDocument& document);
std::vector<CameraRow> lightViewRows(const BaseDocument& document);

struct VideoPostRow {
  Identity identity = 0;
  LONG type = 0;
  String name;
  bool on = true;
  friend bool operator==(const VideoPostRow&, const VideoPostRow&) = default;
};
/// Of the active render data.
std::vector<VideoPostRow> videoPostRows(const BaseDocument& document);
/// Video posts that can be added: those of the host and of plug-ins, hidden ones too, that are not in the
/// list yet.
std::vector<VideoPostRow> addableVideoPosts(const BaseDocument& document);

/// A render setting of the active render data, with its default when it is not stored.
GeData renderValue(const BaseDocument& document, LONG id);

std::vector<Identity> selectedObjects(const BaseDocument& document);
Identity selectedMaterial(const BaseDocument& document); // the first; 0 for none

/// The node of this kind; null when the document has none.
BaseObject* findObject(const BaseDocument& document, Identity identity);
BaseMaterial* findMaterial(const BaseDocument& document, Identity identity);

} // namespace host
