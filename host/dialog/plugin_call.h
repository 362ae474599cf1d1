// Calls from the host into a plug-in's dialogs: the plug-in is known as the one being called, and nothing
// that it throws goes further.
#pragma once

#include <exception>

#include "console.h"
#include "thread_context.h"

namespace host {

/// Calls; an exception is a line on the console and gives `otherwise`.
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
