# Run by cpack before it makes the packages: what they depend on. What a package's
# binaries need comes from dpkg-shlibdeps, which knows the oldest version of each library
# that has what is used of it. A library that no package is known for is an error.
#
# Set by who calls cpack for an architecture that is not this machine's:
#   CPACK_VESK_LIBRARY_DIR   folder with its libraries
#   CPACK_VESK_DPKG_DIR      folder with dpkg's records of the packages they are from
set(depends_dir "${CPACK_VESK_BINARY_DIR}/depends")
file(MAKE_DIRECTORY "${depends_dir}/debian")
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(control "Source: ${CPACK_PACKAGE_NAME}\n")
foreach(package IN LISTS CPACK_COMPONENTS_ALL)
  string(APPEND control "\nPackage: ${package}\nArchitecture: any\n")
endforeach()
file(WRITE "${depends_dir}/debian/control" "${control}")

set(command ${CMAKE_COMMAND} -E env LC_ALL=C)
if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
  list(APPEND command DEB_HOST_ARCH=${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
endif()
list(APPEND command dpkg-shlibdeps -O "-l${CPACK_VESK_BINARY_DIR}"
     "-L${CPACK_VESK_SOURCE_DIR}/packaging/debian/libvesk/shlibs")
if(CPACK_VESK_DPKG_DIR)
  list(APPEND command "-l${CPACK_VESK_LIBRARY_DIR}" "--admindir=${CPACK_VESK_DPKG_DIR}")
endif()

# package_depends(OUT FILE... ): what these built files need.
function(package_depends out)
  list(TRANSFORM ARGN PREPEND "${CPACK_VESK_BINARY_DIR}/" OUTPUT_VARIABLE files)
  execute_process(COMMAND ${command} ${files} WORKING_DIRECTORY "${depends_dir}"
                  OUTPUT_VARIABLE answer ERROR_VARIABLE errors RESULT_VARIABLE failed)
  if(failed OR NOT answer MATCHES "shlibs:Depends=([^\n]+)")
    message(FATAL_ERROR "dpkg-shlibdeps: ${errors}")
  endif()
  set(${out} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

package_depends(CPACK_DEBIAN_LIBVESK_PACKAGE_DEPENDS libvesk.so.1)
package_depends(CPACK_DEBIAN_VESKP-WATCHDOG-PROCESS_PACKAGE_DEPENDS libveskp.watchdog.process.so)
package_depends(CPACK_DEBIAN_VESKD_PACKAGE_DEPENDS veskd veskctl)
# The default configuration names the plug-in, and veskd does not start without it.
string(APPEND CPACK_DEBIAN_VESKD_PACKAGE_DEPENDS
       ", veskp-watchdog-process (>= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_VESK-DEV_PACKAGE_DEPENDS "libvesk (= ${version})")
