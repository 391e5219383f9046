# Cross-builds for the appliance's processor with Debian's compiler. Headers and libraries come from a folder that
# cmake/sysroot makes, or from the appliance's own root file system: -DGW_SYSROOT=FOLDER. See docs/porting.md.
get_filename_component(here ${CMAKE_CURRENT_LIST_DIR}/.. ABSOLUTE)
set(GW_SYSROOT ${here}/build/sysroot-aarch64 CACHE PATH "Root of the headers and libraries to link with")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES GW_SYSROOT)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_SYSROOT ${GW_SYSROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${GW_SYSROOT})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${GW_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${GW_SYSROOT})
