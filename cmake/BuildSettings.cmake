# Settings of all targets: language, output folders, compiler cache, optimisation, sanitizers.
include_guard(GLOBAL)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(LUMENARA_PLUGIN_DIR "${CMAKE_BINARY_DIR}/plugins/Lumenara")

# Programs find the host's library relative to themselves, so that a build folder can be moved. Install.cmake does the same for
# installed programs.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
# A change inside the host's library does not link its users again.
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Kind of build" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g -D_GLIBCXX_ASSERTIONS")

# Precompiled headers need ccache to be lenient about the times stored in them.
find_program(LUMENARA_CCACHE ccache)
if(LUMENARA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      env CCACHE_SLOPPINESS=pch_defines,time_macros "${LUMENARA_CCACHE}")
endif()

set(LUMENARA_SANITIZE "" CACHE STRING "Sanitizers, separated by commas: address,undefined or thread")
if(LUMENARA_SANITIZE)
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1 -D_GLIBCXX_ASSERTIONS")
  add_compile_options(-fsanitize=${LUMENARA_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMENARA_SANITIZE})
  if(LUMENARA_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=all)
  endif()
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Functions of the shared library may be inlined into each other, as other compilers do by default.
  add_compile_options(-fno-semantic-interposition)
endif()
add_link_options(-Wl,--as-needed)

# lumenara_version(FILE...): defines LUMENARA_VERSION ("1.2.3"), LUMENARA_VERSION_MAJOR and LUMENARA_VERSION_MINOR for sources of the
# targets of the current folder.
set(LUMENARA_VERSION_DEFINITIONS LUMENARA_VERSION="${PROJECT_VERSION}"
  LUMENARA_VERSION_MAJOR=${PROJECT_VERSION_MAJOR} LUMENARA_VERSION_MINOR=${PROJECT_VERSION_MINOR})
function(lumenara_version)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_DEFINITIONS ${LUMENARA_VERSION_DEFINITIONS})
endfunction()

include(Warnings)
