# What a component of one's own is built with: component vesk-dev. All of it finds its
# folders from where it stands, so that it can be moved, or lie in the root folder of
# another machine.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# All that is public, and what that includes.
set(public_headers
  framework/IBase.h
  framework/IConfig.h
  framework/IConfigManager.h
  framework/IEventDispatcher.h
  framework/IEventListener.h
  framework/IExtCounters.h
  framework/ILogger.h
  framework/IOSRestart.h
  framework/IPlugin.h
  framework/PApi.h
  framework/PConditionalVar.h
  framework/PCounter.h
  framework/PCounterSync.h
  framework/PGuard.h
  framework/PLiteral.h
  framework/PMutex.h
  framework/PProcess.h
  framework/PResult.h
  framework/PString.h
  framework/PThread.h
  framework/PTime.h
  framework/PUtils.h
  framework/veskGetInstance.h
  plugin/PBaseptr.h
  plugin/PPtr.h
  watchdog/FrameworkResult.h
  watchdog/Guarded.h
  watchdog/IProcessWatchdog.h
  watchdog/IProcessWatchdogEntry.h
  watchdog/IProcessWatchdogInfo.h
  watchdog/ObtainInstance.h
  watchdog/ProcessWatchdogAction.h
  watchdog/ProcessWatchdogResult.h)
foreach(header ${public_headers})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${CMAKE_SOURCE_DIR}/${header}
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk/${folder} COMPONENT vesk-dev)
endforeach()

# The library, and how it is used from outside.
target_include_directories(vesk INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vesk>)
target_compile_options(vesk INTERFACE $<INSTALL_INTERFACE:-funsigned-char>)
target_compile_features(vesk INTERFACE cxx_std_17)
install(TARGETS vesk EXPORT vesk
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT libvesk NAMELINK_COMPONENT vesk-dev)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/vesk)
install(EXPORT vesk NAMESPACE vesk:: FILE veskTargets.cmake
        DESTINATION ${package_folder} COMPONENT vesk-dev)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/veskConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/sdk/veskConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/veskConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT vesk-dev)

# From the folder of vesk.pc back to the one that all is installed in.
set(pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix /${pc_folder} /)
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
configure_file(${CMAKE_SOURCE_DIR}/packaging/sdk/vesk.pc.in
               ${CMAKE_CURRENT_BINARY_DIR}/vesk.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vesk.pc DESTINATION ${pc_folder} COMPONENT vesk-dev)

set(doc_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/vesk-dev)
install(FILES ${CMAKE_SOURCE_DIR}/docs/writing-a-client.md
        DESTINATION ${doc_folder} COMPONENT vesk-dev)
set(client ${CMAKE_SOURCE_DIR}/examples/client)
install(FILES ${client}/CMakeLists.txt ${client}/Client.cpp ${client}/Component.h
              ${client}/exports.map
        DESTINATION ${doc_folder}/examples/client COMPONENT vesk-dev)
