# Cross-compilation for macOS on the processor ZUN_MACOS_PROCESSOR (x86_64 or arm64), with Zig's compilers in the folder
# ZUN_ZIG and LLVM's link editor ZUN_LINKER. The system's C library is described by Zig, the C++ runtime by cmake/macos.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20)
set(CMAKE_SYSTEM_PROCESSOR ${ZUN_MACOS_PROCESSOR})
set(CMAKE_OSX_SYSROOT "")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUN_ZIG ZUN_LINKER ZUN_MACOS_PROCESSOR)

set(CMAKE_C_COMPILER ${ZUN_ZIG}/zig cc)
set(CMAKE_CXX_COMPILER ${ZUN_ZIG}/zig c++)
string(REPLACE arm64 aarch64 processor ${ZUN_MACOS_PROCESSOR})
set(CMAKE_C_FLAGS_INIT "-target ${processor}-macos.11.0")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
# To ask the compiler for its kind is to link a program, for which it would build a C++ runtime first.
set(CMAKE_CXX_COMPILER_ID_RUN TRUE)
set(CMAKE_CXX_COMPILER_ID Clang)
set(CMAKE_CXX_COMPILER_VERSION 16.0.6)
set(CMAKE_CXX_STANDARD_COMPUTED_DEFAULT 17)
set(CMAKE_CXX_EXTENSIONS_COMPUTED_DEFAULT ON)
set(CMAKE_INSTALL_NAME_DIR @rpath)
set(CMAKE_BUILD_WITH_INSTALL_NAME_DIR ON)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/macos/Rules.cmake)

# What CMake's own try-outs would find, if the compiler took all their options.
foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_WORKS TRUE)
    set(CMAKE_${language}_ABI_COMPILED TRUE)
    set(CMAKE_${language}_SIZEOF_DATA_PTR 8)
endforeach()
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
