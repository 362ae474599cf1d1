// Activities of the host that plug-ins can query, and background renders that plug-ins can stop. The host's
// own renders declare themselves with these scopes. RenderDocument alone does not: a plug-in that renders in
// a thread of its own is neither the host's editor render nor its external render. Any thread.
#pragma once

#include <functional>
#include <list>

#include "c4d_render.h"

namespace host {

/// Declares an activity for its own lifetime.
class RunningScope {
 public:
  explicit RunningScope(CHECKISRUNNING activity) noexcept;
  ~RunningScope();
  RunningScope(const RunningScope&) = delete;
  RunningScope& operator=(const RunningScope&) = delete;

 private:
  CHECKISRUNNING activity_;
};

/// A background render of the host. `askToEnd` is called from any thread, possibly more than once, and must
/// not block. The rendering thread owns the object.
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
