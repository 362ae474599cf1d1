# All third-party libraries, each with its purpose. No other file of the build looks for a package.
# A dependency is used through the target dep::<name>; Rules.cmake says which folder may use it.
include_guard(GLOBAL)

# dep::<name> for libraries or imported targets; the include folders are system folders, so foreign headers do not warn.
function(lumenara_dependency name)
  cmake_parse_arguments(arg "" "" "LINK;INCLUDE" ${ARGN})
  add_library(dep_${name} INTERFACE)
  add_library(dep::${name} ALIAS dep_${name})
  target_link_libraries(dep_${name} INTERFACE ${arg_LINK})
  foreach(folder IN LISTS arg_INCLUDE)
    # The compiler knows its own folders; naming one again would change the order of the standard headers.
    if(NOT folder IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
      target_include_directories(dep_${name} SYSTEM INTERFACE "${folder}")
    endif()
  endforeach()
endfunction()

# dep::<name> for a library without a usable CMake package: one header and libraries by name.
function(lumenara_find_dependency name)
  cmake_parse_arguments(arg "" "HEADER" "LIBRARIES;SUFFIXES" ${ARGN})
  find_path(LUMENARA_${name}_INCLUDE "${arg_HEADER}" PATH_SUFFIXES ${arg_SUFFIXES} REQUIRED)
  mark_as_advanced(LUMENARA_${name}_INCLUDE)
  set(libraries "")
  foreach(library IN LISTS arg_LIBRARIES)
    find_library(LUMENARA_${name}_${library} ${library} REQUIRED)
    mark_as_advanced(LUMENARA_${name}_${library})
    list(APPEND libraries "${LUMENARA_${name}_${library}}")
  endforeach()
  lumenara_dependency(${name} LINK ${libraries} INCLUDE "${LUMENARA_${name}_INCLUDE}")
endfunction()

# Threads: the host's own workers, and loading of plug-in modules.
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
lumenara_dependency(threads LINK Threads::Threads ${CMAKE_DL_LIBS})

# TBB: the task library inside Embree.
lumenara_find_dependency(tbb HEADER tbb/version.h LIBRARIES tbb)

# Embree 3: ray queries against triangles and instances.
lumenara_find_dependency(embree HEADER embree3/rtcore.h LIBRARIES embree3)
target_link_libraries(dep_embree INTERFACE dep_tbb)

# epoxy: OpenGL and EGL, for the hardware preview without a window; the driver is looked for when a render wants it.
lumenara_find_dependency(epoxy HEADER epoxy/gl.h LIBRARIES epoxy)

# One library per format of still pictures: PNG, JPEG, TIFF, OpenEXR (with its numbers' own library), WebP, GIF.
lumenara_find_dependency(png HEADER spng.h LIBRARIES spng)
lumenara_find_dependency(jpeg HEADER jpeglib.h LIBRARIES jpeg)
lumenara_find_dependency(tiff HEADER tiffio.h LIBRARIES tiff)
lumenara_find_dependency(imath HEADER ImathBox.h LIBRARIES Imath SUFFIXES Imath)
lumenara_find_dependency(exr HEADER ImfHeader.h LIBRARIES OpenEXR Iex IlmThread SUFFIXES OpenEXR)
target_link_libraries(dep_exr INTERFACE dep_imath)
lumenara_find_dependency(webp HEADER webp/decode.h LIBRARIES webp webpdemux webpmux)
lumenara_find_dependency(gif HEADER gif_lib.h LIBRARIES gif)

# Little CMS: pictures with colour profiles.
lumenara_find_dependency(lcms HEADER lcms2.h LIBRARIES lcms2)

# OpenColorIO: views of linear light by ACES and by configurations of studios.
lumenara_find_dependency(ocio HEADER OpenColorIO/OpenColorIO.h LIBRARIES OpenColorIO)

# oneDNN: the convolutions of the denoiser, one thread each. It is built with GCC's OpenMP library, whatever compiler builds us.
lumenara_find_dependency(dnnl HEADER oneapi/dnnl/dnnl.hpp LIBRARIES dnnl)
target_link_libraries(dep_dnnl INTERFACE gomp)

# FFmpeg: encoding of movies.
lumenara_find_dependency(ffmpeg HEADER libavformat/avformat.h LIBRARIES avformat avcodec swscale avutil)

# libzip: the container of OpenRaster pictures.
lumenara_find_dependency(zip HEADER zip.h LIBRARIES zip)

# FreeType: glyph outlines and their pixels, for text in pictures.
find_package(Freetype REQUIRED)
lumenara_dependency(freetype LINK Freetype::Freetype)

# HarfBuzz: shaping, so that text of any script is set right.
lumenara_find_dependency(harfbuzz HEADER hb.h LIBRARIES harfbuzz SUFFIXES harfbuzz)

# Fontconfig: finding the installed font that has a glyph.
find_package(Fontconfig REQUIRED)
lumenara_dependency(fontconfig LINK Fontconfig::Fontconfig)

# tinygltf: reading and writing of glTF documents.
lumenara_find_dependency(tinygltf HEADER tiny_gltf.h LIBRARIES tinygltf)

# draco: compressed meshes inside glTF.
lumenara_find_dependency(draco HEADER draco/compression/decode.h LIBRARIES draco)

# meshoptimizer: compressed buffer views inside glTF.
lumenara_find_dependency(meshoptimizer HEADER meshoptimizer.h LIBRARIES meshoptimizer)

# Assimp: import of OBJ, FBX, PLY, STL and DAE.
lumenara_find_dependency(assimp HEADER assimp/Importer.hpp LIBRARIES assimp)

# OpenSubdiv: Catmull-Clark subdivision. By name: its CMake package wants a static library that is not packaged.
lumenara_find_dependency(opensubdiv HEADER opensubdiv/version.h LIBRARIES osdCPU)

# nlohmann-json: glTF extras, preferences, statistics.
find_package(nlohmann_json 3.11 REQUIRED)
lumenara_dependency(json LINK nlohmann_json::nlohmann_json)

# CLI11: command lines of the programs.
find_package(CLI11 2.1 REQUIRED)
lumenara_dependency(cli11 LINK CLI11::CLI11)

# Qt 6: the desktop's widgets and vector icons, and the bus on which desktops say whether they are dark. Only host/qt
# and apps/studio use it.
if(LUMENARA_QT AND NOT LUMENARA_FUZZ)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Svg DBus)
  lumenara_dependency(qt LINK Qt6::Core Qt6::Gui Qt6::Widgets Qt6::Svg Qt6::DBus)
endif()

# Python 3: makes the plug-in's link library and runs the checks of the source tree.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

# GoogleTest: unit tests. ./run does not need it; a build without it has no tests.
if(LUMENARA_TESTS AND NOT LUMENARA_FUZZ)
  find_package(GTest QUIET)
  if(GTest_FOUND)
    lumenara_dependency(gtest LINK GTest::gtest GTest::gmock)
    lumenara_dependency(gtest_main LINK GTest::gtest_main)
    # OpenImageIO: a second reader and writer of pictures. By name: its CMake target lists a folder that does not exist.
    lumenara_find_dependency(openimageio HEADER OpenImageIO/imageio.h LIBRARIES OpenImageIO OpenImageIO_Util)
  else()
    message(STATUS "GoogleTest is not installed: this build has no tests")
    set(LUMENARA_TESTS OFF)
  endif()
endif()

# Qt Test: synthetic mouse and keys for the tests of the widgets.
if(LUMENARA_TESTS AND LUMENARA_QT AND NOT LUMENARA_FUZZ)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
  lumenara_dependency(qttest LINK Qt6::Test)
endif()

# Google Benchmark: timing of the renderer and of the host's hot paths. As above.
if(LUMENARA_BENCH AND NOT LUMENARA_FUZZ)
  find_package(benchmark QUIET)
  if(benchmark_FOUND)
    lumenara_dependency(benchmark LINK benchmark::benchmark benchmark::benchmark_main)
  else()
    message(STATUS "Google Benchmark is not installed: this build has no benchmarks")
    set(LUMENARA_BENCH OFF)
  endif()
endif()
