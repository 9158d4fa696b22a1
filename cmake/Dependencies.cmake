# The libraries the house stands on: the system's, or built from the sources in ZUN_DEPENDENCY_SOURCES.
if(ZUN_DEPENDENCY_SOURCES)
    enable_language(C)
    add_subdirectory(${CMAKE_CURRENT_LIST_DIR}/dependencies)
else()
    find_package(Boost 1.74 REQUIRED COMPONENTS thread)
    find_package(EXPAT REQUIRED)
    find_package(utf8cpp REQUIRED CONFIG)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(sodium REQUIRED IMPORTED_TARGET libsodium)
endif()

# Those of the program zun alone.
if(ZUN_BUILD_TOOL)
    find_package(CLI11 REQUIRED CONFIG)
    pkg_check_modules(re2 REQUIRED IMPORTED_TARGET re2)
endif()
