# Cross-compilation for macOS on the processor ZUN_MACOS_PROCESSOR (x86_64 or aarch64), with Zig's C++ compiler
# ZUN_ZIG. The system's C library comes with Zig; the C++ runtime stays the one of the machine that runs the
# library, and so do the dependencies.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20)
set(CMAKE_SYSTEM_PROCESSOR ${ZUN_MACOS_PROCESSOR})
set(CMAKE_OSX_SYSROOT "")

set(CMAKE_CXX_COMPILER ${ZUN_ZIG} c++)
set(CMAKE_CXX_FLAGS_INIT "-target ${ZUN_MACOS_PROCESSOR}-macos.11.0")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-nostdlib++ -Wl,-undefined,dynamic_lookup")
set(CMAKE_INSTALL_NAME_DIR @rpath)
set(CMAKE_BUILD_WITH_INSTALL_NAME_DIR ON)

# What CMake's own try-outs would find, if the compiler took all their options.
set(CMAKE_CXX_COMPILER_WORKS TRUE)
set(CMAKE_CXX_ABI_COMPILED TRUE)
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_CXX_SIZEOF_DATA_PTR 8)
