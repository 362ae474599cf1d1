#include "render_origin.h"

#include <charconv>
#include <cstdio>

#include "node_state.h"
#include "parameters.h"
#include "render_steering.h"

namespace host::render {
namespace {

std::string numberText(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
  return {text, end.ptr};
}

std::string cameraName(BaseDocument& document) {
  const BaseDraw* view = document.GetRenderBaseDraw();
  if (!view) return {};
  const BaseObject* camera = view->GetSceneCamera(&document);
  if (!camera) camera = view->GetEditorCamera();
  return camera ? camera->GetName().GetUTF8() : std::string();
}

// Flags, integers and reals of the renderer; frames and the region are not settings of the look.
std::string changedSettings(const BaseContainer& container) {
  std::string list;
  for (LONG index = 0;; ++index) {
    const LONG id = container.GetIndexId(index);
    if (id == NOTOK) break;
    const GeData& value = container.GetData(id);
    const GeData& usual = param::defaultValue(NodeKind::renderData, 0, id);
    const bool number = value.GetType() == DA_LONG || value.GetType() == DA_REAL;
    if (!number || usual.GetType() == DA_NIL || value.GetReal() == usual.GetReal()) continue;
    list += (list.empty() ? "" : "; ") + std::to_string(id) + "=" + numberText(value.GetReal());
  }
  return list.empty() ? "default" : list;
}

// The names of the objects that are rendered alone; empty: the whole scene.
std::string isolatedNames(const BaseDocument& document) {
  std::string names;
  const auto lock = lockOf(stateOf(&document));
  for (const Identity identity : isolatedObjects())
    if (const NodeState* node = findNode(*stateOf(&document), identity))
      names += (names.empty() ? "" : "; ") + node->name.GetUTF8();
  return names;
}

} // namespace

PictureOrigin describeRender(BaseDocument& document, const BaseContainer& container,
                             const RenderSettings& settings, const BaseTime& time, double seconds) {
  char took[32];
  std::snprintf(took, sizeof took, "%.1f s", seconds);
  const LONG frame = time.GetFrame(static_cast<Real>(document.GetFps()));
  PictureOrigin origin{{"Scene", document.GetDocumentName().GetFileString().GetUTF8()},
                       {"Camera", cameraName(document)},
                       {"Frame", std::to_string(frame)},
                       {"Samples", std::to_string(settings.samples)},
                       {"RenderTime", took},
                       {"Settings", changedSettings(container)},
                       {"Version", "Lumenara " LUMENARA_VERSION}};
  if (std::string names = isolatedNames(document); !names.empty())
    origin.emplace_back("Isolated", std::move(names));
  return origin;
}

} // namespace host::render
