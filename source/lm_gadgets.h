// Settings in gadgets that have the setting's key as their ID. Main thread.
#pragma once

#include "c4d.h"

// Shows a number within the setting's range and as it is to be shown; a setting without a range is unbounded.
void SetNumber(GeDialog* dialog, LONG key, LONG value);
void SetNumber(GeDialog* dialog, LONG key, Real value);

/// Shows what `data` holds under `key`, by its type. What is not there, or has no gadget, is skipped.
void SetGadget(GeDialog* dialog, LONG key, const BaseContainer& data);
