# What a component of one's own is built with: component vesk-dev.
include(GNUInstallDirs)
install(TARGETS vesk LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libvesk
        NAMELINK_COMPONENT vesk-dev)
