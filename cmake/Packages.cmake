# Debian packages, one for each component: `cpack` in the build folder of the preset
# package or package-armhf; scripts/packages.sh does all around it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "vesk watchdog developers <developers@vesk-watchdog.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL libvesk veskp-watchdog-process veskd vesk-dev)
# Whatever the umask of who builds is.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE ${PROJECT_NAME})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# Copyright, changelogs and overrides come in, and manual pages are compressed, when the
# files of all packages stand in place; what libraries they need is found out before.
set(CPACK_VESK_SOURCE_DIR ${CMAKE_SOURCE_DIR})
set(CPACK_VESK_BINARY_DIR ${CMAKE_BINARY_DIR})
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/PackageDepends.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/PackageDocs.cmake)

# Folder of a package under packaging/debian: its description and its control files.
foreach(package IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${package} component)
  set(folder ${CMAKE_SOURCE_DIR}/packaging/debian/${package})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/description)
  file(READ ${folder}/description description)
  string(STRIP "${description}" CPACK_DEBIAN_${component}_DESCRIPTION)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${package})
  file(GLOB CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA CONFIGURE_DEPENDS
       ${folder}/postinst ${folder}/prerm ${folder}/postrm
       ${folder}/conffiles ${folder}/triggers ${folder}/shlibs)
endforeach()

set(CPACK_DEBIAN_LIBVESK_PACKAGE_SECTION libs)
# What is built against it depends on this name (libvesk/shlibs), so that apt installs
# no library with another soname without the plug-ins and hosts that go with it.
set(CPACK_DEBIAN_LIBVESK_PACKAGE_PROVIDES
    "libvesk1 (= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_VESKP-WATCHDOG-PROCESS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_VESKP-WATCHDOG-PROCESS_PACKAGE_ENHANCES veskd)
set(CPACK_DEBIAN_VESKD_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_VESKD_PACKAGE_PREDEPENDS "init-system-helpers (>= 1.54~)")
set(CPACK_DEBIAN_VESK-DEV_PACKAGE_SECTION libdevel)

include(CPack)
