#include "main.h"

#include <new>

#include "lm_folder.h"
#include "lm_keys.h"
#include "lm_postdata.h"
#include "lm_region.h"
#include "lm_version.h"

namespace {

GeResource resource;

} // namespace

// ---- Commands

Bool DlgLumenaraCommand::Execute(BaseDocument*) {
  return dialog.Open(DLG_TYPE_ASYNC, ID_LUMENARA, -1, -1, 400, 300, 0);
}

LONG DlgLumenaraCommand::GetState(BaseDocument*) {
  return CMD_ENABLED;
}

Bool DlgLumenaraCommand::RestoreLayout(void* secret) {
  return dialog.RestoreLayout(ID_LUMENARA, 0, secret);
}

Bool DlgOptimizeCommand::Execute(BaseDocument*) {
  return dialog.Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE, -1, -1, 0, 0, 0);
}

LONG DlgOptimizeCommand::GetState(BaseDocument*) {
  return CMD_ENABLED;
}

Bool DlgOptimizeCommand::RestoreLayout(void* secret) {
  return dialog.RestoreLayout(ID_LUMENARA_OPTIMIZE, 0, secret);
}

Bool lmRefreshCommand::Execute(BaseDocument*) {
  SpecialEventAdd(ID_LUMENARA_REFRESH, 0, 0);
  return TRUE;
}

LONG lmRefreshCommand::GetState(BaseDocument*) {
  return CMD_ENABLED;
}

Bool lmCancelCommand::Execute(BaseDocument*) {
  SpecialEventAdd(ID_LUMENARA_CANCEL, 0, 0);
  return TRUE;
}

LONG lmCancelCommand::GetState(BaseDocument*) {
  return CMD_ENABLED;
}

// ---- Registration

namespace {

template <class Command>
Bool RegisterCommand(LONG id, const String& name, const String& icon) {
  auto* command = new (std::nothrow) Command;
  if (!command) return FALSE;
  AutoAlloc<BaseBitmap> bitmap(AutoBitmap(icon));
  if (RegisterCommandPlugin(id, name, 0, bitmap, name, command)) return TRUE;
  delete command;
  return FALSE;
}

} // namespace

Bool RegisterDlgLumenara() {
  return RegisterCommand<DlgLumenaraCommand>(ID_LUMENARA, "Lumenara", "lm.tif") &&
         RegisterCommand<lmRefreshCommand>(ID_LUMENARA_REFRESH, "Lumenara Refresh", "refresh.tif") &&
         RegisterCommand<lmCancelCommand>(ID_LUMENARA_CANCEL, "Lumenara Cancel", "cancel.tif") &&
         RegisterCommand<DlgOptimizeCommand>(ID_LUMENARA_OPTIMIZE, "Lumenara Optimizations", "lm.tif");
}

// ---- Start

void CheckResetLM() {
  const Filename folders[] = {GeGetPluginPath(), GeGetStartupPath(), GeGetStartupWritePath(),
                              GeGetStartupWritePath() + "plugins", GetDataFolder()};
  Bool shown = FALSE;
  for (const Filename& folder : folders) {
    const Filename marker = folder + "reset.lm";
    if (!GeFExist(marker, FALSE)) continue;
    SetWorldPluginData(ID_LUMENARA, BaseContainer(), FALSE);
    GeFKill(marker);
    if (!shown) MessageDialog("Your Lumenara settings have been reset.");
    shown = TRUE;
  }
}

namespace {

/// Switches one setting off in the stored settings.
void StoreOff(LONG key) {
  BaseContainer data;
  data.SetLong(key, 0);
  SetWorldPluginData(ID_LUMENARA, data, TRUE);
}

} // namespace

Bool PluginStart() {
  const Filename folder = GetDataFolder();
  if (!GeFExist(folder, TRUE)) GeFCreateDirRec(folder);

  CheckResetLM();
  StoreOff(LM_ENABLED);

  if (RegisterDlgLumenara() && RegisterRegionHook() && Register_lmPostData()) {
    PrintVersionString("Lumenara", TRUE);
  } else {
    GePrint("Lumenara Error: Failed to load component");
  }

  StoreOff(LM_REGION_SHOWN);
  return TRUE;
}

void PluginEnd() {
}

Bool PluginMessage(LONG id, void*) {
  if (id == C4DPL_INIT_SYS) return resource.Init(GeGetPluginPath() + "res");
  return FALSE;
}
