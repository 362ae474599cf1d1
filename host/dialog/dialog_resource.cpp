// GeDialog: gadgets from a description.
#include "c4d_dialog.h"

Bool GeDialog::LoadDialogResource(LONG /*id*/, GeResource* /*resource*/, LONG /*flags*/) {
  return FALSE;
}
