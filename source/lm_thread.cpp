#include "lm_thread.h"

#include <algorithm>
#include <cmath>

#include "lm_keys.h"
#include "lm_numbers.h"
#include "lm_stamps.h"

namespace {

// Host IDs used only here.
constexpr LONG VP_THIRD_PARTY = 1021830;
constexpr LONG VP_THIRD_PARTY_SWITCH1 = 1003;
constexpr LONG VP_THIRD_PARTY_SWITCH2 = 1004;
constexpr LONG VP_GI_PARAMETER = 3804;

/// Seconds since `timer`.
Real SecondsSince(LONG timer) {
  return MillisecondsSince(timer) * 0.001;
}

} // namespace

void SetSceneCameras(BaseDocument* doc, BaseObject* camera) {
  if (BaseDraw* view = doc->GetRenderBaseDraw()) view->SetSceneCamera(camera);
  if (BaseDraw* view = doc->GetActiveBaseDraw()) view->SetSceneCamera(camera);
}

lmThread::~lmThread() {
  End(TRUE);
}

Bool lmThread::TestDBreak() {
  return stop.load();
}

const CHAR* lmThread::GetThreadName() {
  return "lmThread";
}

void lmThread::CancelRender() {
  userCancelled = 1;
  stop = 1;
}

void ProgressFunction2(Real p, RENDERPROGRESSTYPE, void* userData) {
  auto* data = static_cast<LMTHREAD_DATA*>(userData);
  if (!data) return;
  data->progress = p;
  StatusSetSpin();
}

void lmThread::Main() {
  if (!bitmap) return;
  stop = 0;
  userCancelled = 0;

  Job job;
  if (!CloneDocument(job)) return;
  DecideStereo(job);
  SwitchVideoPosts(job);

  StatusClear();
  StatusSetSpin();
  StatusSetText("Lumenara Rendering...");

  job.rdata.SetLong(RDATA_XRES, bitmap->GetBw());
  job.rdata.SetLong(RDATA_YRES, bitmap->GetBh());

  FindObjects(job.clone, settings->GetValue(LM_OPT_15019, 0), TRUE);
  FixMaterials(job.clone);
  FixShaders(job.clone);

  OverrideSettings(job);
  if (animation) PrepareOutput(job);
  if (!region) EvaluateScene(job);

  StartStatus(job);
  if (settings->GetValue(LM_CLEAR_BITMAP, 0)) bitmap->Clear(0, 0, 0);

  if (region && !animation) {
    RenderRegion(job);
  } else {
    if (!animation) frameFrom = frameTo = FrameFromTime(job.time, job.fps);
    RenderFrames(job);
  }

  if (data) data->result = job.result;
  ReportErrors(job.result);
  CleanUp(job);
  EndStatus(job);
}

// Clones the active document, and takes its active render data and time. The clone has no animation, which is
// faster, unless the job or a setting for full renders needs it.
Bool lmThread::CloneDocument(Job& job) {
  BaseDocument* active = GetActiveDocument();
  if (!active) return FALSE;

  const Bool noAnimation = !animation && (!settings->GetValue(LM_CLONE_ANIMATION, 0) || region);
  job.clone = active->GetClone(noAnimation ? COPYFLAGS_NO_ANIMATION : COPYFLAGS_0);
  if (!job.clone) {
    stop = 1;
    return FALSE;
  }

  job.renderData = job.clone->GetActiveRenderData();
  if (!job.renderData) {
    stop = 1;
    BaseDocument::Free(job.clone);
    return FALSE;
  }
  job.rdata = job.renderData->GetData();
  job.time = job.clone->GetTime();
  job.fps = job.clone->GetFps();
  return TRUE;
}

void lmThread::SwitchVideoPosts(Job& job) {
  if (settings->GetValue(LM_OPT_15059, 0)) {
    for (BaseVideoPost* post = job.renderData->GetFirstVideoPost(); post; post = post->GetNext()) {
      if (post->GetType() != VP_THIRD_PARTY) continue;
      post->DelBit(BIT_VPDISABLED);
      post->SetParameter(VP_THIRD_PARTY_SWITCH1, GeData::FromBool(TRUE));
      post->SetParameter(VP_THIRD_PARTY_SWITCH2, GeData::FromBool(TRUE));
      break;
    }
  }

  for (BaseVideoPost* post = job.renderData->GetFirstVideoPost(); post; post = post->GetNext()) {
    switch (post->GetType()) {
    case VPglobalillumination:
      post->SetParameter(VP_GI_PARAMETER, GeData::FromBool(FALSE));
      if (!settings->GetValue(LM_OPT_15014, 1)) post->SetBit(BIT_VPDISABLED);
      break;
    case VPcaustics:
      if (!settings->GetValue(LM_OPT_15016, 1)) post->SetBit(BIT_VPDISABLED);
      break;
    case VPhair:
      if (!settings->GetValue(LM_OPT_15042, 1)) post->SetBit(BIT_VPDISABLED);
      break;
    case VPambientocclusion:
      if (!settings->GetValue(LM_OPT_15015, 1)) post->SetBit(BIT_VPDISABLED);
      break;
    case ID_LUMENARA_POSTDATA: // a background render must not be captured as the last render
      post->SetBit(BIT_VPDISABLED);
      break;
    default:
      break;
    }
  }
}

// A choice of 0 to 2 sets a pair of render settings; 0 switches both off. Other values keep the scene's.
void lmThread::OverridePair(Job& job, LONG key, LONG first, LONG second, Bool firstAt1, Bool secondAt1,
                            Bool secondAt2) {
  const LONG choice = settings->GetValue(key, 2);
  if (choice < 0 || choice > 2) return;
  job.rdata.SetBool(first, choice == 1 ? firstAt1 : choice == 2);
  job.rdata.SetBool(second, choice == 1 ? secondAt1 : choice == 2 && secondAt2);
}

void lmThread::OverrideSettings(Job& job) {
  BaseContainer& rdata = job.rdata;

  const Real lod = settings->GetValue(LM_OPT_LOD, 1.0);
  job.clone->SetLOD(lod);
  rdata.SetReal(RDATA_LOD, lod);

  rdata.SetLong(RDATA_ANTIALIASING, settings->GetValue(LM_OPT_15004, 0));
  OverridePair(job, LM_OPT_15008, RDATA_OPTION_TRANSPARENCY, RDATA_OPTION_REFRACTION, TRUE, FALSE, TRUE);
  OverridePair(job, LM_OPT_15010, RDATA_OPTION_REFLECTION, RDATA_OPTION_LIMITREFLECTION, TRUE, TRUE, FALSE);
  OverridePair(job, LM_OPT_15012, RDATA_OPTION_SHADOW, RDATA_OPTION_LIMITSHADOW, TRUE, TRUE, FALSE);
  rdata.SetLong(RDATA_AAFILTER, settings->GetValue(LM_OPT_15006, 0));

  switch (settings->GetValue(LM_OPT_ENGINE, 0)) {
  case 1:
    rdata.SetLong(RDATA_RENDERENGINE, RDATA_RENDERENGINE_PREVIEWSOFTWARE);
    break;
  case 2:
    rdata.SetLong(RDATA_RENDERENGINE, RDATA_RENDERENGINE_PREVIEWHARDWARE);
    break;
  default:
    break; // the scene's engine
  }

  if (!settings->GetValue(LM_OPT_15017, 1)) rdata.SetBool(RDATA_POSTEFFECTS_ENABLE, FALSE);
  rdata.SetBool(RDATA_ACTIVEOBJECTONLY, FALSE);
  if (settings->GetValue(LM_OPT_15058, 0)) rdata.SetBool(RDATA_ACTIVEOBJECTONLY, FALSE);
  if (!settings->GetValue(LM_OPT_15020, 1)) rdata.SetBool(RDATA_SUBPOLYGON_DISPLACEMENT, FALSE);
  if (!settings->GetValue(LM_OPT_15021, 1)) rdata.SetBool(RDATA_ENABLEBLURRY, FALSE);
  if (!settings->GetValue(LM_OPT_15022, 1)) rdata.SetBool(RDATA_VOLUMETRICLIGHTING, FALSE);
  if (!settings->GetValue(LM_OPT_15023, 1)) rdata.SetBool(RDATA_TEXTURES, FALSE);
  if (!settings->GetValue(LM_OPT_15024, 1)) rdata.SetBool(RDATA_SSS, FALSE);

  rdata.SetBool(RDATA_MULTIPASS_ENABLE, FALSE);
  rdata.SetBool(RDATA_MULTIPASS_SAVEIMAGE, FALSE);
  rdata.SetBool(RDATA_SAVEIMAGE, FALSE);
  rdata.SetLong(RDATA_FRAMESEQUENCE, 0);
  rdata.SetTime(RDATA_FRAMEFROM, job.time);
  rdata.SetTime(RDATA_FRAMETO, job.time);
}

void lmThread::ChooseFormat(Output& output, String* suffix) {
  output.movie = format < 6;
  switch (format) {
  case 0:
  case 1: // deliberate, although the dialog treats 0 and 1 as QuickTime
  case 2:
  case 3:
  case 5:
    *suffix = "avi";
    output.filter = FILTER_AVI;
    break;
  case 6:
    *suffix = "bmp";
    output.filter = FILTER_BMP;
    break;
  case 7:
    *suffix = "tif";
    output.filter = FILTER_TIF;
    break;
  case 8:
    *suffix = "jpg";
    output.filter = FILTER_JPG;
    output.options.SetLong(JPGSAVER_QUALITY, jpegQuality);
    break;
  case 9:
    *suffix = "psd";
    output.filter = FILTER_PSD;
    break;
  case 10:
    *suffix = "b3d";
    output.filter = FILTER_B3D;
    break;
  default: // 4, and any other
    *suffix = "mov";
    output.filter = FILTER_MOVIE;
    break;
  }
}

// Prepares the movie options and the output file, and asks before overwriting it. The question is about the
// base name, also for image sequences.
void lmThread::PrepareOutput(Job& job) {
  String suffix;
  ChooseFormat(job.output, &suffix);
  if (job.output.movie) job.output.saver = MovieSaver::Alloc();
  if (format >= 0 && format <= 5)
    job.output.options = GetMovieOptions(settings->GetContainer(LM_ANIM_MOVIE_OPTIONS));

  if (!GeFExist(outputFile.GetDirectory(), TRUE))
    outputFile = GeGetStartupPath() + job.clone->GetDocumentName();
  outputFile.SetSuffix(suffix);

  if (!GeFExist(outputFile)) return;
  if (QuestionDialog("Are you sure you want to overwrite '" + outputFile.GetString() + "'?")) {
    GeFKill(outputFile);
  } else {
    stop = 1; // the frame loop ends before its first frame
  }
}

// Makes the camera picked in the viewer the scene camera, then evaluates the scene at its time.
void lmThread::EvaluateScene(Job& job) {
  const BaseContainer record = job.clone->GetData().GetContainer(LM_REGION);
  BaseList2D* link = record.GetLink(LM_REGION_CAMERA, job.clone);
  if (link && link->IsInstanceOf(Obase)) SetSceneCameras(job.clone, static_cast<BaseObject*>(link));
  job.clone->ExecutePasses(Get(), TRUE, TRUE, FALSE, BUILDFLAGS_0);
}

// Sets `rendering` before it clears `result`, so that readers do not take the cleared result for that of a
// finished job.
void lmThread::StartStatus(Job& job) {
  job.jobTimer = GeGetTimer();
  if (!data) return;
  data->renderTime = 0.0;
  data->progress = 0.0;
  data->rendering = 1;
  data->result = RENDERRESULT_OK;
  data->stampsPending = 0;
  begun = 1;
}

LONG lmThread::Render(Job& job) {
  constexpr auto flags = static_cast<RENDERFLAGS>(RENDERFLAGS_EXTERNAL | RENDERFLAGS_SHOWERRORS);
  return RenderDocument(job.clone, job.rdata, ProgressFunction2, data, bitmap, flags, Get());
}

void lmThread::RenderRegion(Job& job) {
  job.rdata.SetBool(RDATA_RENDERREGION, TRUE);
  job.rdata.SetLong(RDATA_RENDERREGION_LEFT, regionLeft);
  job.rdata.SetLong(RDATA_RENDERREGION_TOP, regionTop);
  job.rdata.SetLong(RDATA_RENDERREGION_RIGHT, regionRight);
  job.rdata.SetLong(RDATA_RENDERREGION_BOTTOM, regionBottom);
  job.result = Render(job);
}

// Renders look through a clone of the camera, without its hierarchy and animation.
void lmThread::CloneCamera(Job& job) {
  BaseDraw* view = job.clone->GetRenderBaseDraw();
  if (!view) return;
  job.camera = view->GetSceneCamera(job.clone);
  if (!job.camera) job.camera = view->GetEditorCamera();
  if (!job.camera) return;

  constexpr auto flags = static_cast<COPYFLAGS>(COPYFLAGS_NO_HIERARCHY | COPYFLAGS_NO_ANIMATION);
  if (auto* copy = static_cast<BaseObject*>(job.camera->GetClone(flags))) {
    copy->InsertAfter(job.camera);
    copy->SetMg(job.camera->GetMg());
    SetSceneCameras(job.clone, copy);
    job.camera = copy;
  }
  job.cameraMatrix = job.camera->GetMg();
}

void lmThread::RenderFrames(Job& job) {
  const LLONG frameCount = static_cast<LLONG>(frameTo) + 1 - frameFrom;
  if (job.output.saver)
    job.output.saver->Open(outputFile, bitmap, job.fps, job.output.filter, &job.output.options, SAVEBIT_0);

  CloneCamera(job);
  PrepareStereo(job);

  for (LLONG f = frameFrom; f <= frameTo; f += std::max<LONG>(frameStep, 1)) {
    if (TestBreak()) break;

    const LONG frameTimer = GeGetTimer();
    const BaseTime frameTime(static_cast<Real>(f), job.fps);
    // The first number is the frame number, not the position in the range.
    StatusSetText("Lumenara (" + LLongToString(f + 1) + "/" + LLongToString(frameCount) + ")");
    job.rdata.SetTime(RDATA_FRAMEFROM, frameTime);
    job.rdata.SetTime(RDATA_FRAMETO, frameTime);
    if (data) {
      data->fps = job.fps;
      data->frameTime = frameTime;
    }

    job.result = job.stereo.on ? RenderStereo(job, frameTime) : Render(job);
    if (animation) WriteFrame(job, static_cast<LONG>(f), frameTimer);
  }

  if (job.output.saver) job.output.saver->Close();
  if (job.stereo.left) BaseBitmap::Free(job.stereo.left);
  if (job.stereo.right) BaseBitmap::Free(job.stereo.right);
}

// Stamps the frame, then writes it to the movie or saves it. The host records failed writes.
void lmThread::WriteFrame(Job& job, LONG frame, LONG frameTimer) {
  if (stamps && data) {
    data->renderTime = SecondsSince(frameTimer);
    DrawStamps(bitmap, settings, bitmap->GetBw(), bitmap->GetBh(), data);
    data->stampsPending = 0;
  }

  if (job.output.movie) {
    if (job.output.saver) job.output.saver->Write(bitmap);
    return;
  }
  const Filename name = FileFromFrameOut(outputFile, frame, 4);
  if (GeFExist(name)) GeFKill(name);
  bitmap->Save(name, job.output.filter, &job.output.options, SAVEBIT_0);
}

void lmThread::ReportErrors(LONG result) {
  if (settings->GetValue(LM_ERROR_DIALOGS, 0)) {
    if (result == RENDERRESULT_OUTOFMEMORY) MessageDialog("Lumenara Error: Not Enough Memory");
    if (result == RENDERRESULT_ASSETMISSING) MessageDialog("Lumenara Error: Asset Missing");
  }
  if (settings->GetValue(LM_ERROR_BANNER, 0)) {
    if (result == RENDERRESULT_OUTOFMEMORY) DrawBanner("Not Enough Memory");
    if (result == RENDERRESULT_ASSETMISSING) DrawBanner("Asset Missing");
    if (result == RENDERRESULT_USERBREAK && userCancelled) DrawBanner("Render Cancelled");
  }
}

// Paints the error banner into the bitmap's top left corner.
void lmThread::DrawBanner(const String& detail) {
  constexpr LONG bannerWidth = 300, bannerHeight = 100;
  AutoAlloc<GeClipMap> map;
  if (!map || map->Init(bannerWidth, bannerHeight, 32) != IMAGERESULT_OK) return;

  map->BeginDraw();
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  CopyToClipMap(*bitmap, *map);

  LONG x = 4;
  const Filename iconFile = GeGetPluginPath() + "res" + "gui" + "error.tif";
  AutoAlloc<GeClipMap> icon;
  if (icon && icon->Init(iconFile) == IMAGERESULT_OK) {
    map->Blit(4, 4, *icon, 0, 0, icon->GetBw() - 1, icon->GetBh() - 1);
    x = icon->GetBw() + 8;
  }
  DrawShadowText(*map, x, 4, "Lumenara Error");
  DrawShadowText(*map, x, map->GetTextHeight() + 8, detail);
  map->EndDraw();

  CopyFromClipMap(*map, *bitmap);
}

// The clone owns the render data.
void lmThread::CleanUp(Job& job) {
  StatusClear();
  if (job.output.saver) MovieSaver::Free(job.output.saver);
  BaseDocument::Free(job.clone);

  if (!animation) return;
  animation = 0;
  if (animationRunning) *animationRunning = 0;
  if (settings->GetValue(LM_ANIM_LAUNCH, 1) && job.output.movie) GeExecuteFile(outputFile);
}

// Clears `rendering` last: a reader that sees it cleared sees the complete result.
void lmThread::EndStatus(Job& job) {
  if (!data) return;
  data->renderTime = SecondsSince(job.jobTimer);
  data->progress = 1.0;
  data->rendering = 0;
}

BaseContainer GetMovieOptions(const BaseContainer& choices) {
  BaseContainer options;
  for (LONG key = 10000; key <= 10020; ++key) {
    if (key > 10004 && key < 10010) continue;
    if (choices.GetType(key) == DA_LONG) options.SetLong(key, choices.GetLong(key));
  }
  return options;
}

ULONG MillisecondsSince(LONG timer) {
  return static_cast<ULONG>(GeGetTimer()) - static_cast<ULONG>(timer);
}

String GetExtension(const Filename& file) {
  Filename bare = file;
  bare.ClearSuffix();
  const String path = file.GetString();
  return path.Right(path.GetLength() - bare.GetString().GetLength());
}

Filename FileFromFrameOut(const Filename& file, LONG frame, LONG digits) {
  Filename name = file.GetFile();
  name.ClearSuffix();
  return file.GetDirectory() + Filename(name.GetString() + StrPad(frame, digits, "0") + GetExtension(file));
}
