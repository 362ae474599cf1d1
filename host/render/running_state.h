// What the host is doing now, as plug-ins may ask, and its background renders, which plug-ins may stop. The
// host's own renders say so with these scopes; RenderDocument alone counts as no such work: a plug-in that
// renders in a thread of its own is not the host's editor or external render. Any thread.
#pragma once

#include <functional>
#include <list>

#include "c4d_render.h"

namespace host {

/// The host does `what` while this lives.
class RunningScope {
 public:
  explicit RunningScope(CHECKISRUNNING what) noexcept;
  ~RunningScope();
  RunningScope(const RunningScope&) = delete;
  RunningScope& operator=(const RunningScope&) = delete;

 private:
  CHECKISRUNNING what_;
};

/// A render that the host runs in the background and that may be asked to end. `askToEnd` is called from any
/// thread, must not block, and may be called more than once. The thread that renders owns the object.
class BackgroundRender {
 public:
  explicit BackgroundRender(std::function<void()> askToEnd);
  ~BackgroundRender();
  BackgroundRender(const BackgroundRender&) = delete;
  BackgroundRender& operator=(const BackgroundRender&) = delete;

 private:
  std::list<std::function<void()>>::iterator place_;
};

} // namespace host
