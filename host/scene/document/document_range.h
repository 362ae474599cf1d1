// The range of a document: its frames, level of detail and active render data.
#pragma once

namespace host {

/// Copies the range between types with the members of DocumentState.
template <class From, class To>
void copyRange(const From& from, To& to) {
  to.activeRenderData = from.activeRenderData;
  to.minTime = from.minTime;
  to.maxTime = from.maxTime;
  to.loopMinTime = from.loopMinTime;
  to.loopMaxTime = from.loopMaxTime;
  to.fps = from.fps;
  to.lod = from.lod;
}

} // namespace host
