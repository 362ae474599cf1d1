// How often plug-ins have rendered. Any thread.
#pragma once

namespace host {

/// A plug-in begins a render into a bitmap.
void countPluginRender() noexcept;
/// How many have begun since the program's start.
unsigned long long pluginRenders() noexcept;

} // namespace host
