# Builds for the 32-bit ARM board (Cortex-A9 with NEON, Debian's armhf) on another machine, with the libraries that
# packaging/make-arm-sysroot has unpacked. What is built runs here by qemu, which is how its tests are run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# g++ has passed some small structs by other registers since version 7, and says so each time; all here is of one compiler.
set(CMAKE_CXX_FLAGS_INIT "-mcpu=cortex-a9 -mfpu=neon -mfloat-abi=hard -Wno-psabi")

# The folder of the libraries; a build in a copy of the tree names it in its environment.
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot)
if(DEFINED ENV{MPEGFE_SYSROOT})
    set(CMAKE_SYSROOT $ENV{MPEGFE_SYSROOT})
endif()
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -cpu cortex-a9 -L ${CMAKE_SYSROOT})
