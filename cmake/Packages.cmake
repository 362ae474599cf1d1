# Debian packages, made by cpack in a build folder: one a component of Install.cmake.
include_guard(GLOBAL)

set(LUMENARA_MAINTAINER "Lumenara maintainers <maintainers@lumenara.invalid>" CACHE STRING "Maintainer named in the packages")

# Version and date by the changelog: changes after the last release make 1.0.0+dev, which sorts between 1.0.0 and 1.0.1.
set_property(DIRECTORY "${CMAKE_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/CHANGELOG.md")
execute_process(COMMAND "${Python3_EXECUTABLE}" "${CMAKE_SOURCE_DIR}/tools/release_notes.py" --version
  OUTPUT_VARIABLE LUMENARA_PACKAGE_VERSION OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${Python3_EXECUTABLE}" "${CMAKE_SOURCE_DIR}/tools/release_notes.py" --date
  OUTPUT_VARIABLE LUMENARA_CHANGELOG_DATE OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumenara)
set(CPACK_PACKAGE_VENDOR "Lumenara")
set(CPACK_PACKAGE_CONTACT "${LUMENARA_MAINTAINER}")
set(CPACK_PACKAGE_VERSION "${LUMENARA_PACKAGE_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Two builds of one commit give equal packages, wherever they stand.
set(CPACK_LUMENARA_SOURCE "${CMAKE_SOURCE_DIR}")
set(CPACK_LUMENARA_PYTHON "${Python3_EXECUTABLE}")
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_SOURCE_DIR}/packaging/commit_time.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/settle.cmake")
set(CPACK_COMPONENTS_ALL batch movie studio doc dev)
if(NOT TARGET lumenara-studio)
  list(REMOVE_ITEM CPACK_COMPONENTS_ALL studio)
endif()
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Quick to make and to open; the pictures and weights inside hardly shrink further.
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Libraries that the files were linked with, parts that are loaded later included; the host's own library is private.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")

# lumenara_package(COMPONENT NAME SECTION SUMMARY TEXT): TEXT is the description below the summary.
macro(lumenara_package component name section summary text)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${text}")
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${summary}\n${text}")
endmacro()
set(exactly "(= ${LUMENARA_PACKAGE_VERSION})")

lumenara_package(batch lumenara graphics "scene renderer for the command line"
"Lumenara renders 3D scenes (glTF, OBJ, FBX, PLY, STL, DAE) with a progressive
path tracer: pictures with layers and mattes, animations as movies or numbered
pictures, comparisons of pictures. It needs no display.")
set(CPACK_DEBIAN_BATCH_PACKAGE_DEPENDS "fonts-dejavu-core")
set(CPACK_DEBIAN_BATCH_PACKAGE_RECOMMENDS "libgl1-mesa-dri, libegl1, lumenara-movie")
set(CPACK_DEBIAN_BATCH_PACKAGE_SUGGESTS "lumenara-doc")

lumenara_package(movie lumenara-movie graphics "movies of the scene renderer Lumenara"
"Lumenara and Lumenara Studio write QuickTime and AVI movies with this package.
It brings FFmpeg's libraries, which nothing else in Lumenara needs.")
set(CPACK_DEBIAN_MOVIE_PACKAGE_DEPENDS "lumenara ${exactly}")

lumenara_package(studio lumenara-studio graphics "scene editor with an interactive render viewer"
"Lumenara Studio opens, edits and saves 3D scenes in glTF and renders them in
the background while they are edited. It has an editor view, managers, a
timeline, a frame buffer with layers and scopes, and a viewer that keeps
earlier renders for comparison.")
set(CPACK_DEBIAN_STUDIO_PACKAGE_DEPENDS "lumenara ${exactly}, lumenara-doc ${exactly}, qt6-qpa-plugins, shared-mime-info")
set(CPACK_DEBIAN_STUDIO_PACKAGE_RECOMMENDS "lumenara-movie, qt6-wayland")

lumenara_package(doc lumenara-doc doc "manual of the scene renderer Lumenara"
"The manual of Lumenara Studio and of the program lumenara, and documents on
rendering, scene files, colour, performance and plug-ins.")
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOC_PACKAGE_SHLIBDEPS OFF)

lumenara_package(dev lumenara-dev libdevel "plug-in interface of the scene renderer Lumenara"
"Headers, link library and CMake package for building plug-ins that Lumenara
and Lumenara Studio load.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "lumenara ${exactly}")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)

include(CPack)
