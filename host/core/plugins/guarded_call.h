// Calls of plug-ins' code: what a plug-in throws stays in its call.
#pragma once

#include <exception>

#include "console.h"

namespace host {

/// What `function` gives; `failed` when it throws, with a line on the console that begins with `what` ("The
/// command "Refresh""). Any thread.
template <class Result, class Function>
Result guarded(const String& what, const Function& function, Result failed) {
  try {
    return function();
  } catch (const std::exception& error) {
    printLine(what + " stopped with an error: " + error.what());
  } catch (...) {
    printLine(what + " stopped with an unknown error.");
  }
  return failed;
}

} // namespace host
