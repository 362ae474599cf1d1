#include "path_kernel.h"

#include "part.h"
#include "portable_results.h"
#include "render_code.h"

namespace host::render {
namespace {

#ifdef LUMENARA_AVX2_PART
const PathKernel& choose() {
  if (wantsPortableResults() || !__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") ||
      !__builtin_cpu_supports("bmi2"))
    return portableKernel();
  static Part part = LUMENARA_PART(avx2);
  return part.as<const PathKernel>();
}
#else
const PathKernel& choose() {
  return portableKernel();
}
#endif

} // namespace

const PathKernel& portableKernel() noexcept {
  static const PathKernel kernel{"portable", &tracePath};
  return kernel;
}

const PathKernel& pathKernel() noexcept {
  static const PathKernel& chosen = []() -> const PathKernel& {
    try {
      return choose();
    } catch (const std::exception&) { // the same pictures, later
      return portableKernel();
    }
  }();
  return chosen;
}

} // namespace host::render

const char* host::renderCode() noexcept {
  return render::pathKernel().name;
}
