// Settings in gadgets whose ID is the setting's key. Main thread.
#pragma once

#include "c4d.h"

// Show a number in the setting's format, within its range. A setting without a range is unbounded, and so is
// a value of another type than the setting's.
void SetNumber(GeDialog* dialog, LONG key, LONG value);
void SetNumber(GeDialog* dialog, LONG key, Real value);

/// Shows the value of `data` under `key`, by its type. Skips absent values and values without a gadget.
void SetGadget(GeDialog* dialog, LONG key, const BaseContainer& data);
