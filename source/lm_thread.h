// The render thread.
#pragma once

#include <atomic>

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

/// Renders a clone of the active scene in the background, into a bitmap that the viewer owns. The viewer
/// fills the job members before `Start`, never during a job; it reads the status record during the job, and
/// ends it with `CancelRender`.
class lmThread : public C4DThread {
 public:
  ~lmThread() override;
  Bool TestDBreak() override;
  void Main() override;
  const CHAR* GetThreadName() override;

  /// Asks the running job to end. A request before `Main` starts is lost. Main thread.
  virtual void CancelRender();

  // Scene optimizations of the clone. Each polls the thread's break test at every object or shader.
  virtual LONG SearchObjects(BaseObject* first, LONG keepObjects, LONG flag);
  virtual LONG SearchShaders(BaseShader* first);
  virtual void FindObjects(BaseDocument* doc, LONG keepObjects, LONG flag);
  virtual void FixMaterials(BaseDocument* doc);
  virtual void FixShaders(BaseDocument* doc);

  // The job. The main thread and the render thread write the two cancel words; the rest is written before
  // `Start` only, except where a comment names `Main`.
  std::atomic<LONG> stop{0};      // break request
  lmSettings* settings = nullptr; // read through its getters
  LMTHREAD_DATA* data = nullptr;  // can be null
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
  /// The output of an animation.
  struct Output {
    Bool movie = FALSE;
    LONG filter = 0;
    BaseContainer options; // of the movie or of the image filter
    MovieSaver* saver = nullptr;
  };

  /// The two eyes of a stereo render.
  struct Stereo {
    Bool on = FALSE;
    Real separation = 0;
    BaseObject *leftCamera = nullptr, *rightCamera = nullptr; // the named pair; both or neither
    BaseBitmap *left = nullptr, *right = nullptr;             // the eye bitmaps
    LVector leftFactor, rightFactor;
  };

  /// The working data of one job, local to `Main`.
  struct Job {
    BaseDocument* clone = nullptr;
    RenderData* renderData = nullptr;
    BaseContainer rdata;
    BaseTime time;
    LONG fps = 0;
    LONG jobTimer = 0;
    LONG result = RENDERRESULT_OK;
    BaseObject* camera = nullptr;
    Matrix cameraMatrix; // global; in stereo at the frame's time
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

/// Combines the eyes' pictures into `bitmap`; all three have the same size. A factor is a colour, one number
/// per channel; `source` selects the grey: 1 red, 2 green, 3 blue, otherwise the mean.
void CombineEyes(const BaseBitmap* left, const BaseBitmap* right, const LVector& leftFactor,
                 const LVector& rightFactor, Bool grey, LONG source, BaseBitmap* bitmap);

/// Makes the render view and the active view of `doc` look through `camera`.
void SetSceneCameras(BaseDocument* doc, BaseObject* camera);

/// The progress callback of `RenderDocument`; its user data is the status record or null. Called on the
/// host's render threads.
void ProgressFunction2(Real p, RENDERPROGRESSTYPE type, void* userData);

/// The movie options among the user's choices: the LONG values under 10000 to 10004 and 10010 to 10020.
BaseContainer GetMovieOptions(const BaseContainer& choices);

/// Milliseconds since a value of the host's timer, which wraps around at 2^32.
ULONG MillisecondsSince(LONG timer);

/// The suffix of the path with its point, ".tif"; empty without a suffix.
String GetExtension(const Filename& file);

/// The file name of a frame: base name, frame number with at least `digits` digits, suffix.
Filename FileFromFrameOut(const Filename& file, LONG frame, LONG digits);
