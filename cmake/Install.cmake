# What is installed where; the component of a file is the package that it goes into.
# Debian's folder for libraries, which GNUInstallDirs knows only of the building machine.
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE AND CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
include(GNUInstallDirs)

install(TARGETS veskp.watchdog.process LIBRARY DESTINATION lib/vesk COMPONENT veskp-watchdog-process)
install(TARGETS veskd RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT veskd)
install(TARGETS veskctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT veskd)

# As built they find libvesk beside themselves, installed in the system's own folders. A
# path that CMake is left to change at the installation would end with a colon as built:
# the loader takes that for the working folder, which may be anybody's.
function(drop_own_folder_when_installed target file component)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
  install(CODE "
    file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${file}\")"
    COMPONENT ${component})
endfunction()

drop_own_folder_when_installed(veskp.watchdog.process lib/vesk/libveskp.watchdog.process.so
                               veskp-watchdog-process)
drop_own_folder_when_installed(veskd ${CMAKE_INSTALL_SBINDIR}/veskd veskd)

install(FILES docs/man/veskctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT veskd)
install(FILES docs/man/veskd.toml.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT veskd)
install(FILES docs/man/veskd.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT veskd)
install(FILES packaging/completions/veskctl.bash RENAME veskctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT veskd)
install(FILES packaging/completions/_veskctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT veskd)
install(FILES docs/control-api.md docs/metrics.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/veskd COMPONENT veskd)
install(DIRECTORY packaging/prometheus
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/veskd/examples COMPONENT veskd)

# Installs a file in which paths are written as they are below the prefix /usr. The
# prefix may be chosen as late as at the installation; so the paths are put right there.
# DESTINATION: below the prefix; with a leading slash, below the root folder that
# belongs to it: / for /usr, else the prefix itself.
function(install_with_paths source destination mode)
  install(CODE "
    set(source [[${CMAKE_SOURCE_DIR}/${source}]])
    set(destination [[${destination}]])
    set(staged [[${CMAKE_BINARY_DIR}/staged/${source}]])
    set(mode ${mode})
    include([[${CMAKE_SOURCE_DIR}/cmake/InstallWithPaths.cmake]])" COMPONENT veskd)
endfunction()

install_with_paths(packaging/veskd.toml /etc 644)
install_with_paths(packaging/systemd/veskd.service lib/systemd/system 644)
install_with_paths(packaging/init/veskd /etc/init.d 755)
install_with_paths(packaging/logrotate/veskd /etc/logrotate.d 644)

include(cmake/Packages.cmake)
