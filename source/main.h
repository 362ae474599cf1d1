// The plug-in's entry points and its commands.
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

/// Registers the four commands; stops at the first failure and returns false.
Bool RegisterDlgLumenara();

/// Applies a pending settings reset: deletes every "reset.lm" marker, empties the stored settings and informs
/// the user once.
void CheckResetLM();
