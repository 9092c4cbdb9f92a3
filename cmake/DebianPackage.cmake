# `make deb`: the install rules of the whole tree, packed by CPack's DEB
# generator into veltrax_<version>_<arch>.deb, with the Debian documentation
# files (copyright, changelog) and Depends computed by dpkg-shlibdeps.
# Included last, so that its install steps run after every directory's.

# Debian ships manual pages and changelogs gzip-compressed (-9n: no name or
# time stamp, so the package is reproducible).
install(CODE [[
  file(GLOB_RECURSE pages "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/*.[1-9]")
  foreach(page IN LISTS pages)
    execute_process(COMMAND gzip -9nf "${page}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
]])
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/veltrax)
set(changelog_gz ${CMAKE_BINARY_DIR}/packaging/changelog.gz)
add_custom_command(OUTPUT ${changelog_gz}
  COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/packaging/debian/changelog > ${changelog_gz}
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)
add_custom_target(veltrax_changelog ALL DEPENDS ${changelog_gz})
install(FILES packaging/debian/copyright ${changelog_gz} DESTINATION ${doc_dir})

# Debian's name of the target architecture.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  set(deb_arch arm64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(deb_arch amd64)
else()
  execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE deb_arch OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()

# Run-time needs beyond shared libraries (those come from dpkg-shlibdeps):
# `veltrax demo` and `veltrax plot` draw their figures with Debian's
# python3-matplotlib. Other areas append theirs (the Python module:
# python3-numpy) with
#   set_property(GLOBAL APPEND PROPERTY VELTRAX_DEB_DEPENDS "python3-numpy")
set_property(GLOBAL APPEND PROPERTY VELTRAX_DEB_DEPENDS python3 python3-matplotlib)
get_property(depends GLOBAL PROPERTY VELTRAX_DEB_DEPENDS)
list(REMOVE_DUPLICATES depends)
list(JOIN depends ", " depends)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltrax)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The VELTRAX project <veltrax@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${deb_arch})
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${depends}")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "jalv | lv2-host")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "fuzz/distortion pedal circuit model: plug-in, LV2 and command line")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION [[
VELTRAX models the circuit of a fuzz/distortion pedal: input filters, a
drive stage, a four-times oversampled clipping section, a tone section and
output filters, with a click-free On/Off switch.

This package contains the effect as a loadable plug-in module, as an LV2
plug-in (urn:veltrax:veltrax) with factory presets, and the command-line
host veltrax, which renders sound files through the effect, plays a demo
riff through the named presets and draws measurement figures.]])
include(CPack)
