// The keys of the settings container, and their table: name, type and default.
#pragma once

#include "c4d.h"
#include "c4d_symbols.h"

/// Commands, dialogs, the settings' key in the world plug-in data, and special events share one number space.
enum LM_PLUGIN_ID : LONG {
  ID_LUMENARA = 1021442,
  ID_LUMENARA_REGION = 1021443,
  ID_LUMENARA_REGION_CHANGED = 1021444,
  ID_LUMENARA_OPTIMIZE = 1021446,
  ID_LUMENARA_REFRESH = 1021447,
  ID_LUMENARA_CANCEL = 1021448,
  ID_LUMENARA_POSTDATA = 1021449,
};

/// Keys without a gadget. Those with one are in c4d_symbols.h.
enum LM_KEY : LONG {
  // Viewer state.
  LM_ENABLED = 10001,
  LM_MODE = 10002,
  LM_ASPECT = 10004,
  LM_REGION = 10005, // in a document's data container, not in the settings
  LM_REGION_SHOWN = 10006,

  // Render Animation.
  LM_ANIM_FILE = 14001,
  LM_ANIM_FROM = 14004,
  LM_ANIM_TO = 14005,
  LM_ANIM_STEP = 14006,
  LM_ANIM_FORMAT = 14007,
  LM_ANIM_REMEMBER = 14008,
  LM_ANIM_LAUNCH = 14009,
  LM_ANIM_MOVIE_OPTIONS = 14010,
  LM_ANIM_JPEG_QUALITY = 14011,
  LM_ANIM_PHOTOSHOP7 = 14012,
  LM_ANIM_STAMP = 14013,
};

/// Display modes, stored as the numbers of their menu entries.
enum LM_MODE_VALUE : LONG { LM_MODE_NORMAL = 1103, LM_MODE_REGION = 1104, LM_MODE_COMPARE = 1105 };

/// The region record, a sub-container of a document's data container under LM_REGION.
enum LM_REGION_KEY : LONG {
  LM_REGION_X = 1111,
  LM_REGION_Y = 1112,
  LM_REGION_SIZE = 1113,
  LM_REGION_CAMERA = 1114,
};

/// The dialogs that write a key's default.
enum LM_DEFAULT : LONG {
  LM_DEFAULT_NONE = 0,
  LM_DEFAULT_VIEWER = 1,
  LM_DEFAULT_OPTIMIZE = 2,
  LM_DEFAULT_BOTH = 3
};

/// A key of the settings: `type` is the host's data type, `value` the default, empty for a key without
/// default.
struct lmKey {
  LONG key;
  const char* name;
  LONG type;
  LONG writers; // LM_DEFAULT
  GeData value;
};

/// All keys of the settings, in the order in which defaults are written; `count` receives their number.
const lmKey* GetKeys(LONG* count);

/// Writes the defaults of `writer` into `data`.
void WriteDefaults(BaseContainer* data, LM_DEFAULT writer);

/// The label of a setting, or of its value, that has no gadget in a dialog; the viewer's menus use it. Null:
/// a dialog has the label.
const char* GetWord(LONG id);

/// The format of a number field: plain, a fraction in per cent, or with a slider's fine steps.
enum LM_SHOWN : LONG { LM_SHOWN_NUMBER = 0, LM_SHOWN_PERCENT = 1, LM_SHOWN_METER = 2 };

/// The values that the user can enter for a setting; bounds and step are those of the shown number.
struct lmRange {
  LONG key;
  LM_SHOWN shown;
  Real min, max, step;
};

/// The range of a key; null: unbounded.
const lmRange* GetRange(LONG key);
