// The number of renders by plug-ins. Any thread.
#pragma once

namespace host {

/// Counts a render into a bitmap that a plug-in begins.
void countPluginRender() noexcept;
/// The number that has begun since the program's start.
unsigned long long pluginRenders() noexcept;

} // namespace host
