#include "thread_run.h"

#include "exit_code.h"
#include "lm_thread.h"
#include "main_loop.h"

namespace batch {

void runThread(lmThread& thread, const std::function<bool()>& poll) {
  constexpr host::Milliseconds period = 20;
  if (!thread.Start()) {
    throw Stop(ExitCode::renderFailed,
               "the render could not be started: the system has no thread left; close other programs");
  }
  while (thread.IsRunning()) {
    host::mainLoop().waitAndRun(host::clock().now() + period);
    // The thread forgets a request that comes before its first step, so the request is repeated.
    if (poll()) thread.CancelRender();
  }
  thread.Wait(TRUE);
}

} // namespace batch
