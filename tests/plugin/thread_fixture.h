// A small document, a bitmap and a render thread with a filled job; a probe records the renders.
#pragma once

#include <atomic>
#include <memory>

#include "lm_keys.h"
#include "lm_thread.h"
#include "plugin_fixture.h"
#include "render_probe.h"
#include "thread_context.h"

class ThreadFixture : public PluginFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Starts the job, serves the thread's calls and waits for its end.
  void runJob();
  /// The input of the last render.
  const BaseContainer& given() const { return probe->renders.back().settings; }

  void clearActiveDocument();
  void dropRenderData();
  BaseObject* addObject(LONG type, const char* name, BaseObject* parent = nullptr);
  BaseObject* addCamera(const char* name, const Vector& place);
  BaseMaterial* addMaterial(const char* name);
  BaseShader* addShader(BaseMaterial* material, LONG channel, LONG type);
  BaseVideoPost* addPost(LONG type);   // an existing one, if any
  void linkCamera(BaseObject* camera); // in the document's region record

  // Of the last rendered clone.
  bool postDisabled(LONG type) const;
  GeData postParameter(LONG type, LONG id) const;

  /// Everything in the user's document that a render could change.
  std::vector<GeData> snapshotOfDocument() const;

  bool isBlack() const;
  /// Whether the bitmap's corner shows the banner with this text.
  bool showsBanner(const char* detail) const;
  std::string statusText();
  ULLONG spinTicks();
  void advanceClock(LONG milliseconds) { clock.advance(milliseconds); }
  void waitUntil(const std::function<bool()>& condition);

  BaseDocument* document = nullptr;
  AutoAlloc<BaseBitmap> bitmap{static_cast<BaseBitmap*>(nullptr)};
  lmSettings settings;
  LMTHREAD_DATA status;
  std::unique_ptr<RenderProbe> probe;
  host::PluginScope scope{&unit()}; // the thread finds the plug-in's pictures
  lmThread thread;

 private:
  ULLONG ticksAtStart_ = 0;
};
