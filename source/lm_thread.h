// The render thread.
#pragma once

#include <atomic>

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

/// Renders the active scene in the background, on a clone, into a bitmap that the viewer owns. The viewer
/// fills the job members before `Start` (and never while a job runs), reads the status record meanwhile, and
/// asks for an end with `CancelRender`.
class lmThread : public C4DThread {
 public:
  ~lmThread() override;
  Bool TestDBreak() override;
  void Main() override;
  const CHAR* GetThreadName() override;

  /// Asks the running job to end. Main thread. A request that comes before `Main` starts is lost.
  virtual void CancelRender();

  // Scene optimizations, on the clone. Each polls the thread's break test at every object or shader that it
  // visits.
  virtual LONG SearchObjects(BaseObject* first, LONG keepObjects, LONG flag);
  virtual LONG SearchShaders(BaseShader* first);
  virtual void FindObjects(BaseDocument* doc, LONG keepObjects, LONG flag);
  virtual void FixMaterials(BaseDocument* doc);
  virtual void FixShaders(BaseDocument* doc);

  // The job. Both cancel words are written by the main thread and by the thread, the rest only before
  // `Start`, but for what `Main` writes as told.
  std::atomic<LONG> stop{0};      // break request
  lmSettings* settings = nullptr; // read through its getters
  LMTHREAD_DATA* data = nullptr;  // may be null
  BaseBitmap* bitmap = nullptr;   // target; its size is the render resolution
  // Pixels of `bitmap`, inclusive.
  LONG regionLeft = -1, regionTop = -1, regionRight = -1, regionBottom = -1;
  LONG region = 0;                 // render only the region
  LONG animation = 0;              // render the frame range to files; `Main` clears it when it ends
  LONG frameFrom = 0, frameTo = 0; // inclusive; a single render overwrites both with the current frame
  LONG frameStep = 1;              // at least 1
  Filename outputFile;             // movie, or base name of the image sequence; `Main` sets its suffix
  LONG format = 0;                 // 0 to 10; below 6 a movie
  LONG jpegQuality = 0;            // for format 8
  LONG photoshop7 = 0;             // carried, not read
  LONG stamps = 0;                 // draw frame stamps on each animation frame
  std::atomic<LONG> begun{0};      // cleared before `Start`; set when the status record tells of this job
  std::atomic<LONG>* animationRunning = nullptr; // the viewer's flag; `Main` writes 0 when an animation ends
  std::atomic<LONG> userCancelled{0};            // tells a user break from other breaks

 private:
  /// Where an animation goes.
  struct Output {
    Bool movie = FALSE;
    LONG filter = 0;
    BaseContainer options; // of the movie or of the image filter
    MovieSaver* saver = nullptr;
  };

  /// Two eyes beside each other.
  struct Stereo {
    Bool on = FALSE;
    Real separation = 0;
    BaseObject *leftCamera = nullptr, *rightCamera = nullptr; // the named pair; both or none
    BaseBitmap *left = nullptr, *right = nullptr;             // the eye bitmaps
    LVector leftFactor, rightFactor;
  };

  /// What one job works on; it lives within `Main`.
  struct Job {
    BaseDocument* clone = nullptr;
    RenderData* renderData = nullptr;
    BaseContainer rdata;
    BaseTime time;
    LONG fps = 0;
    LONG jobTimer = 0;
    LONG result = RENDERRESULT_OK;
    BaseObject* camera = nullptr;
    Matrix cameraMatrix; // global; of the frame's time in stereo
    Stereo stereo;
    Output output;
  };

  Bool CloneDocument(Job& job);
  void DecideStereo(Job& job);
  void SwitchVideoPosts(Job& job);
  void OverrideSettings(Job& job);
  void OverridePair(Job& job, LONG key, LONG first, LONG second, Bool firstAt1, Bool secondAt1,
                    Bool secondAt2);
  void PrepareOutput(Job& job);
  void ChooseFormat(Output& output, String* suffix);
  void EvaluateScene(Job& job);
  void StartStatus(Job& job);
  void RenderRegion(Job& job);
  void RenderFrames(Job& job);
  void CloneCamera(Job& job);
  void PrepareStereo(Job& job);
  LONG Render(Job& job);
  LONG RenderStereo(Job& job, const BaseTime& time);
  LONG RenderEye(Job& job, BaseObject* namedCamera, Real shift, BaseBitmap* eye);
  void WriteFrame(Job& job, LONG frame, LONG frameTimer);
  void ReportErrors(LONG result);
  void DrawBanner(const String& detail);
  void CleanUp(Job& job);
  void EndStatus(Job& job);
};

/// Combines the eyes' pictures into `bitmap`, all three of one size. Factors are colours, one a channel;
/// `source` is where the grey comes from: 1 red, 2 green, 3 blue, others the mean.
void CombineEyes(const BaseBitmap* left, const BaseBitmap* right, const LVector& leftFactor,
                 const LVector& rightFactor, Bool grey, LONG source, BaseBitmap* bitmap);

/// Makes `camera` the one that the render view and the active view of `doc` look through.
void SetSceneCameras(BaseDocument* doc, BaseObject* camera);

/// The progress callback of `RenderDocument`; its user data is the status record or null. Host render
/// threads.
void ProgressFunction2(Real p, RENDERPROGRESSTYPE type, void* userData);

/// The options of a movie among the user's choices: the whole numbers under 10000 to 10004 and 10010 to
/// 10020.
BaseContainer GetMovieOptions(const BaseContainer& choices);

/// Milliseconds since a value of the host's timer, which wraps after 2^32.
ULONG MillisecondsSince(LONG timer);

/// The frame at a time: trunc(floor(fps x numerator) / floor(denominator)); 0 where the denominator's floor
/// is 0.
LONG FrameFromTime(const BaseTime& time, LONG fps);

/// The integer part; 0 when it does not fit.
LONG TruncToLong(Real value);

/// The decimal text of `value` with `pad` put in front while it is shorter than `width`. A minus sign stays
/// inside the padding: -5 at width 3 becomes 0-5. `pad` is not empty.
String StrPad(LONG value, LONG width, const String& pad);

/// The end of the path from the point of its suffix on, or empty when it has none: ".tif".
String GetExtension(const Filename& file);

/// The name of a frame's file: the name part, the frame number of at least `digits` digits, the suffix.
Filename FileFromFrameOut(const Filename& file, LONG frame, LONG digits);
