// Rendering a document, and video posts.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "c4d_threading.h"

// Entries of render settings: (type, unit or range, value where the container has no entry). An entry outside
// its range counts as the nearest value in it. Entries "without effect" are kept and saved, and change no
// picture.

/// (LONG, 0 to 2, 2) 0: samples spread over the pixel alone. 1: pixels at edges between objects also use the
/// filter and take all samples. 2: all pixels use the filter and take samples by their noise.
inline constexpr LONG RDATA_ANTIALIASING = 5002;
/// (LONG, 0 to 7, 0) Filter: 0 still image, 1 animation, 2 blend, 3 sinc, 4 area, 5 cone, 6 Catmull, 7 video.
/// Another value counts as 0.
inline constexpr LONG RDATA_AAFILTER = 5070;
/// (LONG, pixels, 1280 and 720) The document's format, which editor views show.
inline constexpr LONG RDATA_XRES = 5008;
inline constexpr LONG RDATA_YRES = 5009;
/// (LONG, 0 manual range, 0) Without effect: a call renders one frame.
inline constexpr LONG RDATA_FRAMESEQUENCE = 5016;
/// (BaseTime, seconds, the document's time) The frame that is rendered.
inline constexpr LONG RDATA_FRAMEFROM = 5017;
/// (BaseTime, seconds, 0) The last frame. Without effect.
inline constexpr LONG RDATA_FRAMETO = 5018;
/// (Bool, FALSE) Only selected objects are rendered.
inline constexpr LONG RDATA_ACTIVEOBJECTONLY = 5021;
/// (Bool, TRUE) Without effect.
inline constexpr LONG RDATA_VOLUMETRICLIGHTING = 5052;
/// (Real, 0 to 1, the document's level of detail; 1 in new render settings) Scales the subdivision of
/// generators.
inline constexpr LONG RDATA_LOD = 5061;
/// (Bool, TRUE) Bitmap shaders.
inline constexpr LONG RDATA_TEXTURES = 5064;
/// (Bool, TRUE) Glossy reflection and transparency; FALSE: both are sharp, whatever the roughness.
inline constexpr LONG RDATA_ENABLEBLURRY = 5069;
/// (Bool, FALSE; ours) Without effect.
inline constexpr LONG RDATA_MULTIPASS_ENABLE = 5076;
/// (Bool, TRUE) Subsurface scattering. Without effect.
inline constexpr LONG RDATA_SSS = 5079;
/// (Bool, FALSE) Without effect: the caller saves.
inline constexpr LONG RDATA_SAVEIMAGE = 5200;
inline constexpr LONG RDATA_MULTIPASS_SAVEIMAGE = 5202;
/// (LONG, RDATA_RENDERENGINE_..., STANDARD) Any other value is a preview as well.
inline constexpr LONG RDATA_RENDERENGINE = 5300;
/// (Bool, TRUE) Video posts of plug-ins are called.
inline constexpr LONG RDATA_POSTEFFECTS_ENABLE = 5401;
/// (Bool, TRUE) Without effect.
inline constexpr LONG RDATA_SUBPOLYGON_DISPLACEMENT = 5604;
/// (Bool, TRUE) FALSE: transmission counts as 0; refraction bends nothing; mirrors reflect nothing; lights
/// cast no shadow.
inline constexpr LONG RDATA_OPTION_TRANSPARENCY = 6016;
inline constexpr LONG RDATA_OPTION_REFRACTION = 6017;
inline constexpr LONG RDATA_OPTION_REFLECTION = 6018;
inline constexpr LONG RDATA_OPTION_SHADOW = 6019;
/// (Bool, FALSE) Reflections show floors and the sky only; only lights that have a size cast shadows.
inline constexpr LONG RDATA_OPTION_LIMITREFLECTION = 6020;
inline constexpr LONG RDATA_OPTION_LIMITSHADOW = 6021;
/// (Bool, FALSE) Renders a region; pixels outside it stay.
inline constexpr LONG RDATA_RENDERREGION = 7004;
/// (LONG, pixels of the bitmap from its upper left corner, inclusive, 0) Cut to the bitmap.
inline constexpr LONG RDATA_RENDERREGION_LEFT = 7005;
inline constexpr LONG RDATA_RENDERREGION_TOP = 7006;
inline constexpr LONG RDATA_RENDERREGION_RIGHT = 7007;
inline constexpr LONG RDATA_RENDERREGION_BOTTOM = 7008;
/// (LONG, 1 to 1048576, 64; ours) Samples a pixel: the most for each with even samples; with samples by noise
/// the whole picture costs as many.
inline constexpr LONG RDATA_MAXSAMPLES = 7100;
/// (Real, 0 to 1 of the displayed brightness, 0.01; ours) A pixel with a smaller estimated error stops early;
/// 0: no pixel does.
inline constexpr LONG RDATA_NOISETHRESHOLD = 7101;

/// Path tracer; materials' colours under a light from the camera; the same through OpenGL.
inline constexpr LONG RDATA_RENDERENGINE_STANDARD = 0;
inline constexpr LONG RDATA_RENDERENGINE_PREVIEWSOFTWARE = 1;
inline constexpr LONG RDATA_RENDERENGINE_PREVIEWHARDWARE = 300001061;

/// ASSETMISSING: the picture is done, without a file that a material in use needs. USERBREAK: the break test
/// ended the render.
enum RENDERRESULT {
  RENDERRESULT_OK = 0,
  RENDERRESULT_OUTOFMEMORY = 1,
  RENDERRESULT_ASSETMISSING = 2,
  RENDERRESULT_USERBREAK = 6
};
/// Bits. EXTERNAL: the picture is not drawn into an editor view. SHOWERRORS: errors go to the console.
enum RENDERFLAGS { RENDERFLAGS_0 = 0, RENDERFLAGS_EXTERNAL = 1, RENDERFLAGS_SHOWERRORS = 4 };
enum RENDERPROGRESSTYPE {
  RENDERPROGRESSTYPE_BEFORERENDERING = 0,
  RENDERPROGRESSTYPE_DURINGRENDERING = 1,
  RENDERPROGRESSTYPE_AFTERRENDERING = 2
};
/// Kinds of work. VIEWDRAWING: an editor view is being drawn. EDITORRENDERING, EXTERNALRENDERING: a render
/// into a view, into a bitmap.
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
/// the render's: RDATA_XRES and RDATA_YRES do not count. Any thread; it blocks until the picture is done or
/// the break test of `thread` (may be null) is true, and calls nothing afterwards. The picture refines in
/// place meanwhile. The document is evaluated, so it must be the caller's own clone.
C4D_API RENDERRESULT RenderDocument(BaseDocument* document, const BaseContainer& settings,
                                    ProgressHook* progress, void* userData, BaseBitmap* bitmap,
                                    RENDERFLAGS flags, BaseThread* thread);

/// Whether the host does work of this kind now. Any thread.
C4D_API Bool CheckIsRunning(CHECKISRUNNING what);
/// Asks the host's own background renders to end and waits for them at most `timeout` milliseconds. False
/// when one still runs then. `flags` are ignored. Any thread.
C4D_API Bool GeStopBackgroundThreads(LONG timeout, LONG flags);

/// A buffer type: colour.
inline constexpr LONG VPBUFFER_RGBA = 1;

/// A render, as a video post sees it. Valid during the call, on its thread.
class C4D_API Render {
 public:
  /// VPBUFFER_RGBA with index -1: the finished colour picture. Null for others.
  BaseBitmap* GetBuffer(LONG type, LONG index);
  /// The settings that the render was given.
  BaseContainer GetRenderData() const;

 protected:
  Render() = default;
  ~Render() = default;
  Render(const Render&) = delete;
  Render& operator=(const Render&) = delete;
  BaseBitmap* bitmap_ = nullptr; // the host sets both
  const BaseContainer* settings_ = nullptr;
};

/// Calls open and close in nested order, the first one outermost.
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
  RENDERRESULT* error = nullptr; // 0 while nothing has gone wrong; a post may set it
  BaseTime time;
  LONG width = 0, height = 0; // pixels
};
