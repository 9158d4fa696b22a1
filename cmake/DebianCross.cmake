# Cross-compilation for Debian on another processor, whose compiler ZUN_CROSS names as Debian does (such as
# aarch64-linux-gnu), against the packages unpacked in ZUN_CROSS_TREE. What is built runs under qemu's emulation.
string(REGEX REPLACE "-.*" "" processor ${ZUN_CROSS})
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${processor})
set(CMAKE_SYSROOT ${ZUN_CROSS_TREE})
set(CMAKE_LIBRARY_ARCHITECTURE ${ZUN_CROSS})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUN_CROSS ZUN_CROSS_TREE)

set(CMAKE_CXX_COMPILER ${ZUN_CROSS}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${processor};-L;${ZUN_CROSS_TREE})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ZUN_CROSS_TREE})
set(ENV{PKG_CONFIG_LIBDIR} ${ZUN_CROSS_TREE}/usr/lib/${ZUN_CROSS}/pkgconfig:${ZUN_CROSS_TREE}/usr/share/pkgconfig)
