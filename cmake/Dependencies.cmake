# The libraries the house stands on. A cross-compilation that has their headers alone names the folder in
# ZUN_DEPENDENCY_HEADERS and leaves their symbols to the loader.
if(ZUN_DEPENDENCY_HEADERS)
    foreach(dependency Boost::thread EXPAT::EXPAT PkgConfig::sodium utf8cpp)
        add_library(${dependency} INTERFACE IMPORTED)
        set_target_properties(${dependency} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${ZUN_DEPENDENCY_HEADERS})
    endforeach()
else()
    find_package(Boost 1.74 REQUIRED COMPONENTS thread)
    find_package(EXPAT REQUIRED)
    find_package(utf8cpp REQUIRED CONFIG)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(sodium REQUIRED IMPORTED_TARGET libsodium)
endif()
