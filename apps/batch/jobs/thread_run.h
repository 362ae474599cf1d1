// A run of the plug-in's render thread.
#pragma once

#include <functional>

class lmThread;

namespace batch {

/// Starts the thread on its job and returns when it has ended. Serves the thread's calls and calls `poll`
/// every 20 ms; `poll` returning true cancels the job. Throws `Stop` (render failed) when the thread cannot
/// be started. Main thread.
void runThread(lmThread& thread, const std::function<bool()>& poll);

} // namespace batch
