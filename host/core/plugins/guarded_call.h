// Calls of plug-ins' code that catch its exceptions.
#pragma once

#include <exception>

#include "console.h"

namespace host {

/// Returns the result of `function`, or `failed` when it throws; then a line on the console begins with
/// `what`
/// ("The command "Refresh""). Any thread.
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
