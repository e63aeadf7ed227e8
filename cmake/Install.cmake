# What an application needs to build against orv: headers, the library, `orv::orv` for
# find_package(orv), and orv.pc for pkg-config. A static library names what it is linked with,
# since its user has to link that as well; a shared one keeps it to itself.
include(CMakePackageConfigHelpers)

set(ORV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/orv)
set(ORV_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/orv
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.hpp")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/orv
    PATTERN thumb_placeholder.png EXCLUDE)
install(FILES README.md LICENSE CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(TARGETS orv EXPORT orv_targets)
install(EXPORT orv_targets NAMESPACE orv:: FILE orvTargets.cmake DESTINATION ${ORV_CMAKE_DIR})

get_target_property(ORV_LIBRARY_TYPE orv TYPE)
if(ORV_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
    set(ORV_CONFIG_DEPENDENCIES [[
include(CMakeFindDependencyMacro)
find_dependency(Threads)
find_dependency(SQLite3)
find_dependency(ICU COMPONENTS uc i18n)
find_dependency(PkgConfig)
pkg_check_modules(ORV_ZLIB REQUIRED IMPORTED_TARGET zlib)
]])
    set(ORV_PC_DEPENDENCIES "Requires: icu-i18n icu-uc sqlite3 zlib\nLibs: -L\${libdir} -lorv -pthread")
else()
    set(ORV_CONFIG_DEPENDENCIES "")
    set(ORV_PC_DEPENDENCIES "Libs: -L\${libdir} -lorv")
endif()

configure_package_config_file(cmake/orvConfig.cmake.in ${PROJECT_BINARY_DIR}/orvConfig.cmake
    INSTALL_DESTINATION ${ORV_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvConfig.cmake ${PROJECT_BINARY_DIR}/orvConfigVersion.cmake
    DESTINATION ${ORV_CMAKE_DIR})

# The prefix is told from where orv.pc lies, so that the installed tree may be moved.
file(RELATIVE_PATH ORV_PC_PREFIX
    ${CMAKE_INSTALL_PREFIX}/${ORV_PKGCONFIG_DIR} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ORV_PC_PREFIX "${ORV_PC_PREFIX}")
set(ORV_PC_LIBDIR "\${prefix}")
set(ORV_PC_INCLUDEDIR "\${prefix}")
cmake_path(APPEND ORV_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND ORV_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(cmake/orv.pc.in ${PROJECT_BINARY_DIR}/orv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orv.pc DESTINATION ${ORV_PKGCONFIG_DIR})

if(ORV_BUILD_DECODER)
    install(TARGETS orv_picture_decoder orv_film_decoder
        DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/orv)
endif()

if(TARGET orv_command)
    file(RELATIVE_PATH ORV_LIBDIR_FROM_BINDIR
        ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(orv_command PROPERTIES
        INSTALL_RPATH "$<$<STREQUAL:${ORV_LIBRARY_TYPE},SHARED_LIBRARY>:$ORIGIN/${ORV_LIBDIR_FROM_BINDIR}>")
    install(TARGETS orv_command)
endif()
