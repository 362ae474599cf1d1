// The plug-in's entry points, its commands and its version.
#pragma once

#include "c4d.h"
#include "dlg_lumenara.h"
#include "dlg_optimize.h"

/// Opens the viewer dialog.
class DlgLumenaraCommand : public CommandData {
 public:
  Bool Execute(BaseDocument* document) override;
  LONG GetState(BaseDocument* document) override;
  Bool RestoreLayout(void* secret) override;

 private:
  DlgLumenara dialog;
};

/// Opens the Optimizations dialog.
class DlgOptimizeCommand : public CommandData {
 public:
  Bool Execute(BaseDocument* document) override;
  LONG GetState(BaseDocument* document) override;
  Bool RestoreLayout(void* secret) override;

 private:
  DlgOptimize dialog;
};

/// Posts a refresh request; for toolbars and shortcuts.
class lmRefreshCommand : public CommandData {
 public:
  Bool Execute(BaseDocument* document) override;
  LONG GetState(BaseDocument* document) override;
};

/// Posts a cancel request; for toolbars and shortcuts.
class lmCancelCommand : public CommandData {
 public:
  Bool Execute(BaseDocument* document) override;
  LONG GetState(BaseDocument* document) override;
};

/// Registers the four commands, stopping at the first failure; true when all four succeeded.
Bool RegisterDlgLumenara();

/// The plug-in's folder of data: start-up write path + "plugins" + "Lumenara".
Filename GetDataFolder();

/// Applies a pending settings reset: deletes every "reset.lm" marker, empties the stored settings and tells
/// the user, once.
void CheckResetLM();

/// The version: major "." minor of two digits.
String GetVersionString();

/// Prints the start-up banner on the console; with `flag` also the notice lines.
void PrintVersionString(const String& name, Bool flag);
