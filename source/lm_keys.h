// The keys of the settings container, and their table: name, type and default.
#pragma once

#include "c4d.h"

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

  // Scene optimizations.
  LM_OPT_15004 = 15004, // anti-aliasing
  LM_OPT_15006 = 15006, // reconstruction filter
  LM_OPT_15008 = 15008, // transparency, refraction
  LM_OPT_15010 = 15010, // reflection, limit reflection
  LM_OPT_15012 = 15012, // shadow, limit shadow
  LM_OPT_15014 = 15014, // global illumination
  LM_OPT_15015 = 15015, // ambient occlusion
  LM_OPT_15016 = 15016, // caustics
  LM_OPT_15017 = 15017, // post effects
  LM_OPT_15019 = 15019, // subdivision objects
  LM_OPT_15020 = 15020, // sub-polygon displacement
  LM_OPT_15021 = 15021, // blurriness
  LM_OPT_15022 = 15022, // volumetric lighting
  LM_OPT_15023 = 15023, // textures
  LM_OPT_15024 = 15024, // subsurface scattering
  LM_OPT_MAT_15026 = 15026,
  LM_OPT_MAT_15027,
  LM_OPT_MAT_15028,
  LM_OPT_MAT_15029,
  LM_OPT_MAT_15030,
  LM_OPT_MAT_15031,
  LM_OPT_MAT_15032,
  LM_OPT_MAT_15033,
  LM_OPT_MAT_15034,
  LM_OPT_MAT_15035,
  LM_OPT_MAT_15036,
  LM_OPT_MAT_15037,
  LM_OPT_MAT_15038,
  LM_OPT_MAT_15039,
  LM_OPT_RES_DIVISOR = 15040,
  LM_OPT_15041 = 15041,
  LM_OPT_15042 = 15042, // hair
  LM_OPT_LOD = 15043,
  LM_STEREO_SEPARATION = 15045,
  LM_OPT_SHADERS = 15046,
  LM_STEREO = 15048,
  LM_STEREO_GREY = 15050,
  LM_STEREO_GREY_SOURCE = 15052,
  LM_STEREO_TAG_OFF = 15053,
  LM_STEREO_SCALE = 15055,
  LM_OPT_ENGINE = 15057,
  LM_OPT_15058 = 15058,
  LM_OPT_15059 = 15059,
  LM_STEREO_NAMED_CAMERAS = 15060,

  // Display, refresh, history, error reporting, stamps.
  LM_AUTO_REFRESH = 20004,
  LM_REFRESH_DELAY = 20005,
  LM_OPT_20006 = 20006,
  LM_LOCK = 20007,
  LM_STAMP_RENDER_TIME = 20011,
  LM_STAMP_RENDER_TIME_H = 20012,
  LM_STAMP_RENDER_TIME_V = 20013,
  LM_STAMP_DATE = 20014,
  LM_STAMP_DATE_H = 20015,
  LM_STAMP_DATE_V = 20016,
  LM_STAMP_CUSTOM1 = 20017,
  LM_STAMP_TEXT1 = 20018,
  LM_STAMP_CUSTOM1_H = 20019,
  LM_STAMP_CUSTOM1_V = 20020,
  LM_STAMP_IMAGE = 20021,
  LM_STAMP_IMAGE_FILE = 20022,
  LM_STAMP_IMAGE_H = 20024,
  LM_STAMP_IMAGE_V = 20025,
  LM_VIEW_SIZE = 20027,
  LM_MIN_WIDTH = 20028,
  LM_MIN_HEIGHT = 20029,
  LM_OPT_20030 = 20030,
  LM_HISTORY_SIZE = 20033,
  LM_HISTORY_ADD = 20035,
  LM_COMPARE_STYLE = 20037,
  LM_COMPARE_CENTER = 20038,
  LM_COMPARE_SCALE = 20039,
  LM_ZOOM_STEP = 20040,
  LM_STAMP_CUSTOM2 = 20041,
  LM_STAMP_TEXT2 = 20042,
  LM_STAMP_CUSTOM2_H = 20043,
  LM_STAMP_CUSTOM2_V = 20044,
  LM_STAMP_DOCUMENT = 20045,
  LM_STAMP_DOCUMENT_H = 20046,
  LM_STAMP_DOCUMENT_V = 20047,
  LM_CLEAR_BITMAP = 20049,
  LM_ERROR_DIALOGS = 20050,
  LM_ERROR_BANNER = 20051,
  LM_HISTORY_AUTOLOAD = 20052,
  LM_CLONE_ANIMATION = 20053,
  LM_PROGRESS_STRIP = 20054,
  LM_PROGRESS_BAR = 20055,
  LM_ANAGLYPH_LEFT = 20057,
  LM_ANAGLYPH_RIGHT = 20058,
  LM_OPT_20059 = 20059,
  LM_STAMP_CAMERA = 20060,
  LM_STAMP_CAMERA_H = 20061,
  LM_STAMP_CAMERA_V = 20062,
  LM_OPT_20063 = 20063,
  LM_SHIFT_DISABLES = 20064,
  LM_REFRESH_WAIT = 20065,
  LM_STAMP_TIMECODE = 20066,
  LM_STAMP_TIMECODE_H = 20067,
  LM_STAMP_TIMECODE_V = 20068,
  LM_STEREO_LEFT_CAMERA = 20071,
  LM_STEREO_RIGHT_CAMERA = 20072,
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
