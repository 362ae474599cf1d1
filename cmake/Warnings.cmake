# One set of warnings for all of the project's own code; every one of them is an error.
include_guard(GLOBAL)

add_library(lumenara_warnings INTERFACE)
target_compile_options(lumenara_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough
  -Wundef -Wunused -Wvla)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(lumenara_warnings INTERFACE
    -Wduplicated-cond -Wlogical-op
    # GCC 12 reports overlaps inside std::string concatenations that cannot happen (its bug 105651).
    -Wno-restrict)
  if(LUMENARA_SANITIZE)
    # The sanitizers' own code confuses the flow analysis; the other builds keep these warnings.
    target_compile_options(lumenara_warnings INTERFACE
      -Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-array-bounds)
  endif()
endif()
