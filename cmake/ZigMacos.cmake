# Cross-compilation for macOS on the processor ZUN_MACOS_PROCESSOR (x86_64 or aarch64), with Zig's C++ compiler
# ZUN_ZIG. The system's C library comes with Zig; the C++ runtime stays the one of the machine that runs the
# library, and so do the dependencies.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${ZUN_MACOS_PROCESSOR})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUN_ZIG ZUN_MACOS_PROCESSOR)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_CXX_COMPILER ${ZUN_ZIG} c++)
set(CMAKE_CXX_FLAGS_INIT "-target ${ZUN_MACOS_PROCESSOR}-macos.11.0")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-nostdlib++ -Wl,-undefined,dynamic_lookup")
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")

set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE NEVER)
