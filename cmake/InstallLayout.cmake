# Where an installation puts things, relative to the prefix. With the prefix
# /usr on Debian, GNUInstallDirs gives the multiarch library directory
# (lib/x86_64-linux-gnu, lib/aarch64-linux-gnu); elsewhere plain lib.
# GNUInstallDirs leaves cross builds at plain lib: a Debian cross build to
# /usr takes the target's multiarch directory here.
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE AND CMAKE_INSTALL_PREFIX STREQUAL "/usr"
   AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Object code libraries")
endif()
include(GNUInstallDirs)

# The plug-in module; the installed `veltrax` looks for it here.
set(VELTRAX_MODULE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/veltrax)
# Python extension modules (Debian's dist-packages; python/ installs into it
# and the Debian package then carries it).
set(VELTRAX_PYTHON_INSTALL_DIR lib/python3/dist-packages)
