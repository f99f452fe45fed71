# 32-bit ARM, hard-float: Debian's cross compiler, and the libraries of a root folder
# that scripts/sysroot.sh filled with Debian's packages.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# The compiler tells of a calling convention that changed with its version 7.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

get_filename_component(usual_sysroot "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf" ABSOLUTE)
set(VESK_SYSROOT "${usual_sysroot}" CACHE PATH "Root folder of the target")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VESK_SYSROOT)
set(CMAKE_SYSROOT "${VESK_SYSROOT}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# CTest runs the tests through this, in the root folder that the environment's VESK_SYSROOT
# names where it is not the usual one.
get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR
                       "${CMAKE_CURRENT_LIST_DIR}/../scripts/on-target.sh" ABSOLUTE)
