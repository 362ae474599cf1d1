#include "lm_gadgets.h"

#include "lm_keys.h"

namespace {

/// The setting's range if its values have this type, else null.
const lmRange* RangeFor(LONG key, LONG type) {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  for (LONG i = 0; i < count; ++i) {
    if (keys[i].key == key) return keys[i].type == type ? GetRange(key) : nullptr;
  }
  return nullptr;
}

} // namespace

void SetNumber(GeDialog* dialog, LONG key, LONG value) {
  if (const lmRange* range = RangeFor(key, DA_LONG)) {
    dialog->SetLong(key, value, static_cast<LONG>(range->min), static_cast<LONG>(range->max),
                    static_cast<LONG>(range->step));
  } else {
    dialog->SetLong(key, value);
  }
}

void SetNumber(GeDialog* dialog, LONG key, Real value) {
  const lmRange* range = RangeFor(key, DA_REAL);
  if (!range) {
    dialog->SetReal(key, value, MINREALr, MAXREALr, 1.0);
  } else if (range->shown == LM_SHOWN_PERCENT) {
    dialog->SetPercent(key, value, range->min, range->max, range->step);
  } else if (range->shown == LM_SHOWN_METER) {
    dialog->SetMeter(key, value, range->min, range->max, range->step);
  } else {
    dialog->SetReal(key, value, range->min, range->max, range->step);
  }
}

void SetGadget(GeDialog* dialog, LONG key, const BaseContainer& data) {
  switch (data.GetType(key)) {
  case DA_LONG:
    SetNumber(dialog, key, data.GetLong(key));
    break;
  case DA_REAL:
    SetNumber(dialog, key, data.GetReal(key));
    break;
  case DA_VECTOR:
    dialog->SetColorField(key, data.GetVector(key), 1.0);
    break;
  case DA_STRING:
    dialog->SetString(key, data.GetString(key));
    break;
  case DA_BOOL:
    dialog->SetBool(key, data.GetBool(key));
    break;
  default:
    break;
  }
}
