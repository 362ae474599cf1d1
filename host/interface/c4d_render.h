// Rendering a document, and video posts.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "c4d_threading.h"

inline constexpr LONG RDATA_ANTIALIASING = 5002;
inline constexpr LONG RDATA_AAFILTER = 5070;
inline constexpr LONG RDATA_XRES = 5008;
inline constexpr LONG RDATA_YRES = 5009;
inline constexpr LONG RDATA_FRAMESEQUENCE = 5016;
inline constexpr LONG RDATA_FRAMEFROM = 5017;
inline constexpr LONG RDATA_FRAMETO = 5018;
inline constexpr LONG RDATA_ACTIVEOBJECTONLY = 5021;
inline constexpr LONG RDATA_VOLUMETRICLIGHTING = 5052;
inline constexpr LONG RDATA_LOD = 5061;
inline constexpr LONG RDATA_TEXTURES = 5064;
inline constexpr LONG RDATA_ENABLEBLURRY = 5069;
inline constexpr LONG RDATA_MULTIPASS_ENABLE = 5076;
inline constexpr LONG RDATA_SSS = 5079;
inline constexpr LONG RDATA_SAVEIMAGE = 5200;
inline constexpr LONG RDATA_MULTIPASS_SAVEIMAGE = 5202;
inline constexpr LONG RDATA_RENDERENGINE = 5300;
inline constexpr LONG RDATA_POSTEFFECTS_ENABLE = 5401;
inline constexpr LONG RDATA_SUBPOLYGON_DISPLACEMENT = 5604;
inline constexpr LONG RDATA_OPTION_TRANSPARENCY = 6016;
inline constexpr LONG RDATA_OPTION_REFRACTION = 6017;
inline constexpr LONG RDATA_OPTION_REFLECTION = 6018;
inline constexpr LONG RDATA_OPTION_SHADOW = 6019;
inline constexpr LONG RDATA_OPTION_LIMITREFLECTION = 6020;
inline constexpr LONG RDATA_OPTION_LIMITSHADOW = 6021;
inline constexpr LONG RDATA_RENDERREGION = 7004;
inline constexpr LONG RDATA_RENDERREGION_LEFT = 7005;
inline constexpr LONG RDATA_RENDERREGION_TOP = 7006;
inline constexpr LONG RDATA_RENDERREGION_RIGHT = 7007;
inline constexpr LONG RDATA_RENDERREGION_BOTTOM = 7008;
inline constexpr LONG RDATA_MAXSAMPLES = 7100;     // (ours) most samples a pixel
inline constexpr LONG RDATA_NOISETHRESHOLD = 7101; // (ours)

inline constexpr LONG RDATA_RENDERENGINE_STANDARD = 0;
inline constexpr LONG RDATA_RENDERENGINE_PREVIEWSOFTWARE = 1;
inline constexpr LONG RDATA_RENDERENGINE_PREVIEWHARDWARE = 300001061;

enum RENDERRESULT {
  RENDERRESULT_OK = 0,
  RENDERRESULT_OUTOFMEMORY = 1,
  RENDERRESULT_ASSETMISSING = 2,
  RENDERRESULT_USERBREAK = 6
};
enum RENDERFLAGS { RENDERFLAGS_0 = 0, RENDERFLAGS_EXTERNAL = 1, RENDERFLAGS_SHOWERRORS = 4 };
enum RENDERPROGRESSTYPE {
  RENDERPROGRESSTYPE_BEFORERENDERING = 0,
  RENDERPROGRESSTYPE_DURINGRENDERING = 1,
  RENDERPROGRESSTYPE_AFTERRENDERING = 2
};
enum CHECKISRUNNING {
  CHECKISRUNNING_ANIMATIONRUNNING = 0,
  CHECKISRUNNING_VIEWDRAWING = 1,
  CHECKISRUNNING_EDITORRENDERING = 2,
  CHECKISRUNNING_EXTERNALRENDERING = 3,
  CHECKISRUNNING_MATERIALPREVIEWRUNNING = 5
};

/// Called with 0 to 1 while a render runs, from the host's render threads, one call at a time.
using ProgressHook = void(Real progress, RENDERPROGRESSTYPE type, void* userData);

/// Renders the document at the time of RDATA_FRAMEFROM with the given settings into the bitmap, whose size is
/// the render's (RDATA_XRES, RDATA_YRES are ignored when they differ). Returns when the picture is done or
/// the thread's break test said so; calls nothing afterwards. The picture refines in place meanwhile. With
/// RENDERFLAGS_SHOWERRORS errors go to the console. The document is evaluated, so it must be the caller's own
/// clone.
C4D_API RENDERRESULT RenderDocument(BaseDocument* document, const BaseContainer& settings,
                                    ProgressHook* progress, void* userData, BaseBitmap* bitmap,
                                    RENDERFLAGS flags, BaseThread* thread);

/// Whether the host does such work now. Any thread.
C4D_API Bool CheckIsRunning(CHECKISRUNNING what);
/// Stops the host's own background renders, waiting at most this long (milliseconds). False when they did not
/// end in time.
C4D_API Bool GeStopBackgroundThreads(LONG timeout, LONG flags);

inline constexpr LONG VPBUFFER_RGBA = 1;

/// A render, as a video post sees it. Valid during the call.
class C4D_API Render {
 public:
  /// Type 1 with index -1: the finished colour picture. Null for others.
  BaseBitmap* GetBuffer(LONG type, LONG index);
  /// The settings that the render was given.
  BaseContainer GetRenderData() const;

 protected:
  Render() = default;
  ~Render() = default;
  Render(const Render&) = delete;
  Render& operator=(const Render&) = delete;
  BaseBitmap* bitmap_ = nullptr; // both set by the host
  const BaseContainer* settings_ = nullptr;
};

enum VIDEOPOSTCALL {
  VIDEOPOSTCALL_FRAMESEQUENCE = 1,
  VIDEOPOSTCALL_FRAME = 2,
  VIDEOPOSTCALL_SUBFRAME = 3,
  VIDEOPOSTCALL_RENDER = 4,
  VIDEOPOSTCALL_INNER = 5,
  VIDEOPOSTCALL_TILE = 6
};

struct VideoPostStruct {
  VIDEOPOSTCALL vp = VIDEOPOSTCALL_FRAMESEQUENCE;
  Bool open = FALSE; // the call opens, else it closes
  BaseDocument* doc = nullptr;
  Render* render = nullptr;
  BaseThread* thread = nullptr;
  RENDERRESULT* error = nullptr; // 0 while all is well; a post may set it
  BaseTime time;
  LONG width = 0, height = 0;
};
