# Places of installed files, by GNUInstallDirs. A prefix can be moved: programs find their files relative to the host's library.
#
#   bin/                  programs
#   lib/lumenara/         (on Debian lib/<architecture>/lumenara/) the host's library and its parts, plugins/, and links to the data
#   share/lumenara/       data: res/ and docs/ of the plug-in, the denoiser's weights, the library of materials, the demo scene
#
# Components are the Debian packages (Packages.cmake): batch, movie, studio, doc, dev.
include_guard(GLOBAL)
# Debian keeps libraries by architecture, whatever the prefix.
if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}" CACHE PATH "Folder of libraries below the prefix")
endif()
include(GNUInstallDirs)

set(LUMENARA_INSTALL_LIB "${CMAKE_INSTALL_LIBDIR}/lumenara")
set(LUMENARA_INSTALL_DATA "${CMAKE_INSTALL_DATADIR}/lumenara")

file(RELATIVE_PATH library_from_programs "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/lumenara")
set(CMAKE_INSTALL_RPATH "$ORIGIN/${library_from_programs}")

# lumenara_install_link(COMPONENT LINK DATA): the link lib/lumenara/LINK to share/lumenara/DATA.
function(lumenara_install_link component link data)
  set(file "${LUMENARA_INSTALL_LIB}/${link}")
  get_filename_component(folder "${file}" DIRECTORY)
  file(RELATIVE_PATH target "/prefix/${folder}" "/prefix/${LUMENARA_INSTALL_DATA}/${data}")
  install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}\")
    file(MAKE_DIRECTORY \"\${folder}\")
    file(CREATE_LINK \"${target}\" \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${file}\" SYMBOLIC)" COMPONENT ${component})
endfunction()
