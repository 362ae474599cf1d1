// The renderer's inner loops, compiled twice: for every processor, and for those with AVX2 and FMA. The
// second copy is a part (part.h), loaded with the first render.
#pragma once

#include "path_tracer.h"

/// The part's entry: its host::render::PathKernel.
extern "C" __attribute__((visibility("default"))) void* lumenara_part_avx2();

namespace host::render {

struct PathKernel {
  const char* name; // see renderCode()
  decltype(&tracePath) trace;
};

const PathKernel& portableKernel() noexcept;
/// The kernel for this machine: the portable one where AVX2 or the part is missing, and where the environment
/// asks for portable results (portable_results.h). Any thread.
const PathKernel& pathKernel() noexcept;

} // namespace host::render
