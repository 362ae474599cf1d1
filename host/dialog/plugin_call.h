// Calls from the host into a plug-in's dialogs, in the plug-in's scope. Exceptions do not leave the call.
#pragma once

#include <exception>

#include "console.h"
#include "thread_context.h"

namespace host {

/// Calls the function; after an exception it prints a line on the console and returns `otherwise`.
template <class Call, class Result>
Result callPlugin(const PluginUnit* plugin, const Call& call, Result otherwise) {
  const PluginScope scope(plugin);
  try {
    return call();
  } catch (const std::exception& error) {
    printLine(String("A dialog stopped what it did with an error: ") + error.what());
  } catch (...) {
    printLine("A dialog stopped what it did with an unknown error.");
  }
  return otherwise;
}

template <class Call>
void callPlugin(const PluginUnit* plugin, const Call& call) {
  callPlugin(
      plugin, [&] { return call(), true; }, true);
}

} // namespace host
