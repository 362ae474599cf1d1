// The entry of the part with the inner loops for AVX2.
#include "path_kernel.h"

void* lumenara_part_avx2() {
  static host::render::PathKernel kernel{"avx2", &host::render::tracePath};
  return &kernel;
}
