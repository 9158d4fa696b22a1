# How everything is linked. Zig's own link editor leaves out no symbol that a list does not name.
set(link "${ZUN_LINKER} -arch ${ZUN_MACOS_PROCESSOR} -platform_version macos 11.0 11.0 -dead_strip")
set(what "<LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES>")
set(system "${CMAKE_CURRENT_LIST_DIR}/libc++.1.tbd ${ZUN_ZIG}/lib/libc/darwin/libSystem.11.tbd")
set(CMAKE_CXX_CREATE_SHARED_LIBRARY
    "${link} -dylib <SONAME_FLAG> <TARGET_INSTALLNAME_DIR><TARGET_SONAME> ${what} ${system}")
set(CMAKE_CXX_CREATE_SHARED_MODULE "${link} -bundle ${what} ${system}")
set(CMAKE_CXX_LINK_EXECUTABLE "${link} ${what} ${system}")
set(CMAKE_CXX_LINKER_WRAPPER_FLAG "")
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-rpath ")
set(CMAKE_SHARED_LIBRARY_RUNTIME_CXX_FLAG "-rpath ")
