include(CMakePackageConfigHelpers)

# What a program may include. A header that is not named here stays inside the house.
set(public_headers
    zun/Api.h
    zun/logger/ILogger.h
    zun/logger/eComponent.h
    zun/logger/MessageResource.h
    zun/logger/MultiArgs.h
    zun/logger/ISubsystem.h
    zun/logger/logInSyslog.h
    zun/linux/log.h
    zun/text/AString.h
    zun/text/AFormat.h
    zun/text/ACharString.h
    zun/text/AStringList.h
    zun/text/AStringParser.h
    zun/text/AResourceFile.h
    zun/text/ALocalizedString.h
    zun/text/AVersion.h
    zun/binary/ABuffer.h
    zun/binary/ABinaryStream.h
    zun/binary/ByteOrder.h
    zun/binary/Base64.h
    zun/files/AFile.h
    zun/files/AFiler.h
    zun/files/AFileIndex.h
    zun/files/ALibrary.h
    zun/files/CEnclosureType.h
    zun/files/APath.h
    zun/structured/AnXml.h
    zun/structured/AnXmlNode.h
    zun/structured/AnXmlChildIndex.h
    zun/structured/AnXmlValueIndex.h
    zun/structured/AnIni.h
    zun/structured/AnIni2.h
    zun/structured/MatchWildcard.h
    zun/lock/ILock.h
    zun/lock/UnixLock.h
    zun/lock/InterProcessLock.h
    zun/lock/CReadWriteSync.h
    zun/configuration/IConfiguration.h
    zun/platform/helper/CommonHelper.h
    zun/platform/xml/AdvXMLParser.h
    zun/platform/registry/Registry.h
    zun/platform/registry/ProfileString.h
    zun/platform/crypto/ACryptWrap.h
)
foreach(header IN LISTS public_headers)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

install(TARGETS zun EXPORT zunTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/zun)
install(EXPORT zunTargets NAMESPACE zun:: DESTINATION ${package_directory})
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
