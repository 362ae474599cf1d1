#include "dlg_lumenara.h"

#include <algorithm>

#include "dlg_animation.h"
#include "lm_folder.h"
#include "lm_keys.h"

namespace {

/// Gadgets and menu entries.
enum DLG_LUMENARA_ID : LONG {
  ID_OPTIMIZATIONS = 1100,
  ID_OPTIONS = 1101,
  ID_SAVE_TO_PICTURE_VIEWER = 1102,
  ID_ENABLED = 1106,
  ID_SLIDER = lmUserArea::GADGET_SLIDER,
  ID_REFRESH = 1109,
  ID_AUTO_REFRESH = 1110,
  ID_ZOOM_IN = 1115,
  ID_ZOOM_OUT = 1116,
  ID_RESET_REGION = 1117,
  ID_CAMERA = DlgLumenara::BUTTON_CAMERA,
  ID_ADD_TO_HISTORY = 1119,
  ID_IMAGE_A = 1120,
  ID_IMAGE_B = 1121,
  ID_IMAGE_GROUP = lmUserArea::GADGET_IMAGE_GROUP,
  ID_VIEW = 1123,
  ID_LOCK = 1128,
  ID_CLEAR_HISTORY = 1129,
  ID_OPEN_HISTORY = 1130,
  ID_SWAP = 1131,
  ID_DIFFERENCE = 1132,
  ID_RENDER_ANIMATION = 5000,
  ID_RESET_SETTINGS = 5014,
  ID_ADD_LAST_RENDER = 5015,
};

constexpr LONG POSITION_UNKNOWN = 0x7fffffff;
constexpr Real NO_SLIDER_POSITION = -2.0;

BaseContainer GetRegionRecord(const BaseDocument* doc) {
  return doc->GetData().GetContainer(LM_REGION);
}

} // namespace

DlgLumenara::DlgLumenara() : view(this, &settings) {
  settings.Init(ID_LUMENARA);
  DlgLumenara::LoadDefaultSettings();
  settings.Load();
}

DlgLumenara::~DlgLumenara() {
  thread.End(TRUE);
  settings.SetValue(LM_REGION_SHOWN, 0);
  settings.Save();
}

void DlgLumenara::LoadDefaultSettings() {
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
}

// ---- Layout

Bool DlgLumenara::CreateLayout() {
  SetTitle("Lumenara");
  GroupBegin(0, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
  GroupBorderSpace(4, 4, 4, 4);
  GroupSpace(4, 4);

  ScrollGroupBegin(ID_IMAGE_GROUP, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
  AddUserArea(ID_VIEW, BFH_CENTER | BFV_CENTER, 120, 90);
  AttachUserArea(view, ID_VIEW);
  GroupEnd();

  GroupBegin(0, BFH_SCALEFIT, 2, 0, "", 0);
  GroupBegin(0, BFH_SCALEFIT, 4, 0, "", 0);
  AddButton(ID_IMAGE_A, BFH_LEFT, 0, 0, " A ");
  AddStaticText(0, BFH_LEFT, 0, 0, "<->", BORDER_NONE);
  AddButton(ID_IMAGE_B, BFH_LEFT, 0, 0, " B ");
  AddEditSlider(ID_SLIDER, BFH_SCALEFIT);
  SetPercent(ID_SLIDER, 0.0, -100.0, 100.0, 1.0);
  GroupEnd();

  CreateMenus();

  GroupBegin(0, BFH_RIGHT, 3, 0, "", 0);
  AddCheckbox(ID_AUTO_REFRESH, BFH_LEFT, 0, 0, " ");
  AddButton(ID_REFRESH, BFH_LEFT, 0, 0, "Refresh");
  AddButton(ID_CAMERA, BFH_LEFT, 0, 0, "Camera");
  GroupEnd();
  GroupEnd();

  GroupEnd();
  InitMenus();
  return TRUE;
}

void DlgLumenara::CreateMenus() {
  MenuFlushAll();

  MenuSubBegin("Options");
  MenuAddString(ID_ENABLED, GetWord(LM_ENABLED));
  MenuAddSeparator();
  MenuAddString(ID_OPTIMIZATIONS, "Optimizations...");
  MenuAddString(ID_OPTIONS, "Options...");
  MenuAddSeparator();
  MenuAddString(ID_RENDER_ANIMATION, "Render Animation...");
  MenuAddSeparator();
  MenuAddString(ID_SAVE_TO_PICTURE_VIEWER, "Save to Picture Viewer");
  MenuAddSeparator();
  MenuAddString(ID_RESET_SETTINGS, "Reset Lumenara Settings");
  MenuSubEnd();

  MenuSubBegin(GetWord(LM_MODE));
  for (const LONG mode : {LM_MODE_NORMAL, LM_MODE_REGION, LM_MODE_COMPARE})
    MenuAddString(mode, GetWord(mode));
  MenuSubEnd();

  MenuSubBegin("Region");
  MenuAddString(ID_ZOOM_IN, "Zoom In");
  MenuAddString(ID_ZOOM_OUT, "Zoom Out");
  MenuAddSeparator();
  MenuAddString(ID_RESET_REGION, "Reset");
  MenuAddSeparator();
  MenuAddString(ID_LOCK, "Lock");
  MenuSubEnd();

  MenuSubBegin("History");
  MenuAddString(ID_ADD_TO_HISTORY, "Add Image to History");
  MenuAddString(ID_ADD_LAST_RENDER, "Add Last Render");
  MenuAddSeparator();
  MenuAddString(ID_SWAP, "Swap A/B Images");
  MenuAddString(ID_DIFFERENCE, "View Difference");
  MenuAddString(ID_OPEN_HISTORY, "Open History Folder");
  MenuAddSeparator();
  MenuAddString(ID_CLEAR_HISTORY, "Clear History");
  MenuSubEnd();

  MenuFinished();
}

void DlgLumenara::InitMenus() {
  MenuInitString(ID_ENABLED, TRUE, settings.GetValue(LM_ENABLED, 1));
  CheckMode();
  SetBool(ID_AUTO_REFRESH, IsAutoRefresh());
  SetEnabling();
  MenuInitString(ID_LOCK, TRUE, settings.GetValue(LM_LOCK, 0));
}

void DlgLumenara::CheckMode() {
  const LONG mode = settings.GetValue(LM_MODE, LM_MODE_NORMAL);
  for (const LONG entry : {LM_MODE_NORMAL, LM_MODE_REGION, LM_MODE_COMPARE})
    MenuInitString(entry, TRUE, entry == mode);
}

// Enables the entries and buttons that the current mode uses.
void DlgLumenara::SetEnabling() {
  const Bool compare = settings.GetValue(LM_MODE, LM_MODE_NORMAL) == LM_MODE_COMPARE;
  MenuInitString(ID_ADD_TO_HISTORY, !compare && settings.GetValue(LM_HISTORY_ADD, 0) == 1, FALSE);
  Enable(ID_IMAGE_A, compare);
  Enable(ID_IMAGE_B, compare);
}

// ---- Open, close, switch on

Bool DlgLumenara::InitValues() {
  settings.SetValue(LM_REGION_SHOWN, 1);
  settings.Save();
  view.enabled = settings.GetValue(LM_ENABLED, 1);
  view.LayoutChanged();
  view.Redraw();
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
  return TRUE;
}

Bool DlgLumenara::AskClose() {
  HideRegion();
  return FALSE;
}

void DlgLumenara::DestroyWindow() {
  HideRegion();
}

void DlgLumenara::HideRegion() {
  settings.SetValue(LM_REGION_SHOWN, 0);
  settings.Save();
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
}

void DlgLumenara::AutoEnable() {
  if (settings.GetValue(LM_ENABLED, 1) == 1) return;
  ShowEnabled(1);
  view.lastCompose = 0;
  view.Redraw();
}

// Stores the switch and updates everything that shows it, except for the view's picture.
void DlgLumenara::ShowEnabled(LONG enabled) {
  settings.SetValue(LM_ENABLED, enabled);
  settings.Save();
  MenuInitString(ID_ENABLED, TRUE, enabled);
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
  view.enabled = enabled;
  view.LayoutChanged();
}

// ---- Commands

Bool DlgLumenara::Command(LONG id, const BaseContainer& msg) {
  const Bool autoRefresh = IsAutoRefresh();
  switch (id) {
  case ID_ENABLED:
    ToggleEnabled(autoRefresh);
    break;
  case LM_MODE_NORMAL:
  case LM_MODE_REGION:
  case LM_MODE_COMPARE:
    SetMode(id);
    break;
  case ID_OPTIMIZATIONS:
    CallCommand(ID_LUMENARA_OPTIMIZE);
    break;
  case ID_OPTIONS:
    EditOptions();
    break;
  case ID_SAVE_TO_PICTURE_VIEWER:
    view.SaveToPictureViewer();
    break;
  case ID_RENDER_ANIMATION:
    RenderAnimation();
    break;
  case ID_RESET_SETTINGS:
    ResetSettings();
    break;
  case ID_ZOOM_IN:
  case ID_ZOOM_OUT:
    ZoomRegion(id, autoRefresh);
    break;
  case ID_RESET_REGION:
    ResetRegion(autoRefresh);
    break;
  case ID_LOCK:
    ToggleLock();
    break;
  case ID_SLIDER:
    CompareSlider();
    break;
  case ID_REFRESH:
    if (SwitchesOff(msg)) return Command(ID_ENABLED, msg);
    AutoEnable();
    OnRender(0);
    break;
  case ID_AUTO_REFRESH:
    SetAutoRefresh();
    break;
  case ID_CAMERA:
    if (settings.GetValue(LM_MODE, LM_MODE_NORMAL) != LM_MODE_COMPARE) FindCameras();
    break;
  case ID_IMAGE_A:
  case ID_IMAGE_B:
    SelectImage(id);
    break;
  default:
    HistoryCommand(id);
    break;
  }

  settings.SetValue(LM_REGION_SHOWN, 1);
  settings.Save();
  return TRUE;
}

// The entries of the menu "History".
void DlgLumenara::HistoryCommand(LONG id) {
  switch (id) {
  case ID_ADD_TO_HISTORY:
    view.AddToHistory();
    break;
  case ID_ADD_LAST_RENDER:
    view.AddLastRender();
    break;
  case ID_SWAP:
    view.HistorySwap();
    break;
  case ID_DIFFERENCE:
    view.HistoryPrepare(0.0, lmUserArea::COMPARE_DIFFERENCE);
    break;
  case ID_OPEN_HISTORY:
    OpenHistoryFolder();
    break;
  case ID_CLEAR_HISTORY:
    ClearHistory();
    break;
  default:
    break;
  }
}

// Whether a click on Refresh switches the viewer off instead.
Bool DlgLumenara::SwitchesOff(const BaseContainer& msg) const {
  return settings.GetValue(LM_ENABLED, 1) == 1 && settings.GetValue(LM_SHIFT_DISABLES, 0) == 1 &&
         msg.GetLong(BFM_INPUT_DEVICE) == BFM_INPUT_MOUSE && (msg.GetLong(BFM_INPUT_QUALIFIER) & QSHIFT);
}

void DlgLumenara::SelectImage(LONG button) {
  if (settings.GetValue(LM_MODE, LM_MODE_NORMAL) != LM_MODE_COMPARE) return;
  AutoEnable();
  LONG screenX = 0, screenY = 0;
  GetScreenPosition(button, &screenX, &screenY);
  view.SelectImagePopup(screenX, screenY, button == ID_IMAGE_A);
}

void DlgLumenara::ToggleEnabled(Bool autoRefresh) {
  ShowEnabled(!settings.GetValue(LM_ENABLED, 1));
  view.Redraw();
  if (autoRefresh) OnRender(0);
}

void DlgLumenara::SetMode(LONG mode) {
  AutoEnable();
  settings.SetValue(LM_MODE, mode);
  settings.Save();
  CheckMode();
  if (mode == LM_MODE_COMPARE) {
    compareValue = NO_SLIDER_POSITION;
    view.lastCompose = 0;
    view.Redraw();
  }
  SetEnabling();
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
  OnRender(0);
}

void DlgLumenara::EditOptions() {
  options.settings = &settings;
  if (!options.Open()) return;
  settings.Load();
  view.LayoutChanged();
  SetBool(ID_AUTO_REFRESH, IsAutoRefresh());
  MenuInitString(ID_LOCK, TRUE, settings.GetValue(LM_LOCK, 0));
  SetEnabling();
  if (settings.GetValue(LM_HISTORY_AUTOLOAD, 0) == 1) view.AutoloadRecent();
}

void DlgLumenara::RenderAnimation() {
  if (!settings.GetValue(LM_ENABLED, 1)) return;
  DlgAnimation dialog;
  dialog.settings = &settings;
  dialog.fileName = Filename();
  dialog.format = 8;
  dialog.jpegQuality = 95;
  dialog.photoshop7 = TRUE;
  dialog.launch = TRUE;
  dialog.stamp = FALSE;
  if (!dialog.Open()) return;

  animationJob.file = dialog.fileName;
  animationJob.format = dialog.format;
  animationJob.from = dialog.from;
  animationJob.to = dialog.to;
  animationJob.step = dialog.step;
  animationJob.jpegQuality = dialog.jpegQuality;
  animationJob.photoshop7 = dialog.photoshop7;
  animationJob.stamp = dialog.stamp;
  OnRender(1);
}

// The next start finds the marker.
void DlgLumenara::ResetSettings() {
  if (!QuestionDialog("Are you sure you want to clear Lumenara's settings?")) return;
  AutoAlloc<BaseFile> file;
  if (file && file->Open(GetDataFolder() + "reset.lm", FILEOPEN_WRITE, FILEDIALOG_NONE, FourCC("C4DC"),
                         FourCC("C4D1")))
    file->Close();
  MessageDialog("Your Lumenara settings will be reset the next time you run Cinema 4D.");
}

void DlgLumenara::ZoomRegion(LONG id, Bool autoRefresh) {
  BaseDocument* doc = GetActiveDocument();
  if (settings.GetValue(LM_LOCK, 0) == 1 || !doc) return;
  BaseContainer record = GetRegionRecord(doc);
  const Real old = record.GetReal(LM_REGION_SIZE, 0.5), step = settings.GetValue(LM_ZOOM_STEP, 0.1);
  record.SetReal(LM_REGION_SIZE, id == ID_ZOOM_IN ? std::max(old - step, 0.1) : std::min(old + step, 1.0));
  StoreRegion(doc, record);
  if (autoRefresh) OnRender(0);
}

void DlgLumenara::ResetRegion(Bool autoRefresh) {
  BaseDocument* doc = GetActiveDocument();
  if (settings.GetValue(LM_LOCK, 0) == 1 || !doc) return;
  BaseContainer record = GetRegionRecord(doc);
  record.SetReal(LM_REGION_X, 0.0);
  record.SetReal(LM_REGION_Y, 0.0);
  record.SetReal(LM_REGION_SIZE, 0.5);
  StoreRegion(doc, record);
  if (autoRefresh) OnRender(0);
}

void DlgLumenara::StoreRegion(BaseDocument* doc, const BaseContainer& record) {
  doc->GetDataInstance()->SetContainer(LM_REGION, record);
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
  doc->SetChanged();
}

void DlgLumenara::ToggleLock() {
  const LONG lock = !settings.GetValue(LM_LOCK, 0);
  settings.SetValue(LM_LOCK, lock);
  MenuInitString(ID_LOCK, TRUE, lock);
}

void DlgLumenara::CompareSlider() {
  AutoEnable();
  Real value = 0.0;
  GetReal(ID_SLIDER, value);
  if (value == compareValue) return;
  compareValue = value;
  view.Redraw();
}

void DlgLumenara::SetAutoRefresh() {
  AutoEnable();
  Bool value = FALSE;
  GetBool(ID_AUTO_REFRESH, value);
  settings.SetValue(LM_AUTO_REFRESH, value ? 1 : 0);
  if (value) OnRender(0);
}

void DlgLumenara::GetScreenPosition(LONG gadget, LONG* screenX, LONG* screenY) const {
  LONG w = 0, h = 0;
  if (GetItemDim(gadget, screenX, screenY, &w, &h) && Local2Screen(screenX, screenY)) return;
  *screenX = *screenY = POSITION_UNKNOWN;
}

void DlgLumenara::OpenHistoryFolder() {
  const Filename folder = GetDataFolder() + "history";
  if (!GeFExist(folder, TRUE)) GeFCreateDir(folder);
  GeExecuteFile(folder);
}

void DlgLumenara::ClearHistory() {
  if (QuestionDialog("Are you sure you want to delete all images in your history?")) view.ClearHistory();
}

// ---- Input and special events

LONG DlgLumenara::Message(const BaseContainer& msg, BaseContainer& result) {
  switch (msg.GetId()) {
  case BFM_INPUT:
    if (msg.GetLong(BFM_INPUT_DEVICE) == BFM_INPUT_KEYBOARD) {
      const String typed = msg.GetString(BFM_INPUT_ASC);
      if (typed == "+") return Command(ID_ZOOM_IN, BaseContainer());
      if (typed == "-") return Command(ID_ZOOM_OUT, BaseContainer());
    }
    break;
  case BFM_SIZED: // of the view
    view.Redraw();
    if (settings.GetValue(LM_VIEW_SIZE, 1) != 1) view.LayoutChanged();
    if (IsAutoRefresh()) OnRender(0);
    break;
  case BFM_CLOSE:
    settings.Save();
    break;
  default:
    break;
  }
  return GeDialog::Message(msg, result);
}

Bool DlgLumenara::CoreMessage(LONG id, const BaseContainer& msg) {
  switch (id) {
  case ID_LUMENARA_REFRESH:
    return Command(ID_REFRESH, BaseContainer());
  case ID_LUMENARA_CANCEL:
    if (thread.IsRunning()) thread.CancelRender();
    return TRUE;
  case EVMSG_CHANGE:
    if (IsAutoRefresh() && CheckCoreMessage(msg)) SceneChanged();
    return TRUE;
  case ID_LUMENARA_OPTIMIZE:
    return OptimizationChanged(msg) ? TRUE : GeDialog::CoreMessage(id, msg);
  case ID_LUMENARA_REGION_CHANGED:
    if (IsAutoRefresh(msg)) {
      pendingRefresh = 1;
      OnRender(0);
    }
    return TRUE;
  default:
    return GeDialog::CoreMessage(id, msg);
  }
}
