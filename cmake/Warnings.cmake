# The warnings for all of the project's own code; each is an error. The checks of the plug-in with other compilers
# (tests/checks) use the same lists.
include_guard(GLOBAL)

set(LUMENARA_WARNINGS
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough
  -Wundef -Wunused -Wvla)
# GCC 12 reports overlaps inside std::string concatenations that cannot happen (its bug 105651).
set(LUMENARA_GNU_WARNINGS -Wduplicated-cond -Wlogical-op -Wno-restrict)
if(LUMENARA_SANITIZE)
  # The sanitizers' own code confuses the flow analysis; the other builds keep these warnings.
  list(APPEND LUMENARA_GNU_WARNINGS -Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-array-bounds)
endif()

add_library(lumenara_warnings INTERFACE)
target_compile_options(lumenara_warnings INTERFACE
  ${LUMENARA_WARNINGS} $<$<CXX_COMPILER_ID:GNU>:${LUMENARA_GNU_WARNINGS}>)
