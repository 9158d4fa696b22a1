include(CMakePackageConfigHelpers)

# The shared and the static library may stand side by side; each brings the targets of its kind.
set(kind static)
if(BUILD_SHARED_LIBS)
    set(kind shared)
endif()
install(TARGETS zun EXPORT zunTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/zun)
install(EXPORT zunTargets NAMESPACE zun:: FILE zun-${kind}-targets.cmake DESTINATION ${package_directory})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zunConfig.cmake.in ${PROJECT_BINARY_DIR}/zunConfig.cmake
    INSTALL_DESTINATION ${package_directory}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zunConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zunConfig.cmake ${PROJECT_BINARY_DIR}/zunConfigVersion.cmake
    DESTINATION ${package_directory})

# The prefix is found from the file's own place, so that the installed tree may be moved.
file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE dynamic_loader)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zun.pc.in ${PROJECT_BINARY_DIR}/zun.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zun.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
