// What a document keeps about its frames and its detail, besides the time it stands at.
#pragma once

namespace host {

/// Copies it between things that have the members of a DocumentState.
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
