// The viewer's choice of a camera.

#include "dlg_lumenara.h"
#include "lm_keys.h"

BaseObject* DlgLumenara::GetRegionCamera(const BaseDocument* doc) {
  BaseList2D* link = doc->GetData().GetContainer(LM_REGION).GetLink(LM_REGION_CAMERA, doc);
  return link && link->IsInstanceOf(Obase) ? static_cast<BaseObject*>(link) : nullptr;
}

void DlgLumenara::FindCameras() {
  BaseDocument* doc = GetActiveDocument();
  if (!doc) return;
  BaseContainer record = doc->GetData().GetContainer(LM_REGION);
  BaseObject* linked = GetRegionCamera(doc);

  BaseContainer popup;
  popup.SetString(POPUP_CAMERA, linked ? "Default Camera" : "Default Camera&c&");
  popup.SetString(0, "");
  if (SearchCameras(doc->GetFirstObject(), linked, popup, 1) == 1)
    popup.SetString(POPUP_CAMERA_LINK, "(No Cameras)&d&");

  LONG screenX = 0, screenY = 0;
  GetScreenPosition(BUTTON_CAMERA, &screenX, &screenY);
  const LONG result = ShowPopupMenu(this, screenX, screenY, popup);
  if (!result) return;
  if (result == POPUP_CAMERA) {
    record.RemoveData(LM_REGION_CAMERA);
  } else if (result != POPUP_CAMERA_LINK) {
    record.SetLink(LM_REGION_CAMERA, popup.GetLink(result + POPUP_CAMERA_LINK - POPUP_CAMERA, doc));
  }
  doc->GetDataInstance()->SetContainer(LM_REGION, record);
  if (IsAutoRefresh()) OnRender(0);
}

LONG DlgLumenara::SearchCameras(BaseObject* first, BaseObject* linked, BaseContainer& popup, LONG count) {
  for (BaseObject* object = first; object; object = object->GetNext()) {
    if (object->GetType() == Ocamera) {
      popup.SetString(POPUP_CAMERA + count, object->GetName() + (object == linked ? "&c&" : ""));
      popup.SetLink(POPUP_CAMERA_LINK + count, object);
      ++count;
    }
    count = SearchCameras(object->GetDown(), linked, popup, count);
  }
  return count;
}
