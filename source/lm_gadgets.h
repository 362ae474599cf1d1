// Settings in gadgets that have the setting's key as their ID. Main thread.
#pragma once

#include "c4d.h"

// Shows a number within the setting's range and as it is to be shown. A setting without a range is unbounded,
// and so is a value that is not of the setting's type.
void SetNumber(GeDialog* dialog, LONG key, LONG value);
void SetNumber(GeDialog* dialog, LONG key, Real value);

/// Shows what `data` holds under `key`, by its type. What is not there, or has no gadget, is skipped.
void SetGadget(GeDialog* dialog, LONG key, const BaseContainer& data);
