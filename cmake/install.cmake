# What `cmake --install` puts under the prefix: both libraries, the headers in their folders, the
# CMake package and tqamsg.pc. Nothing in them names the prefix, so the tree may be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tqamsg)

install(TARGETS tqamsg tqamsg_static EXPORT tqamsg-targets)
install(DIRECTORY tqamsg DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "*_words.inc")

install(EXPORT tqamsg-targets NAMESPACE tqamsg:: DESTINATION ${package_dir})
configure_package_config_file(cmake/tqamsg-config.cmake.in tqamsg-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(tqamsg-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/tqamsg-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/tqamsg-config-version.cmake
    DESTINATION ${package_dir})

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
configure_file(cmake/tqamsg.pc.in tqamsg.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tqamsg.pc DESTINATION ${pkgconfig_dir})

# Which files an installation made, CMake notes itself; `uninstall` needs the prefix, too.
if(PROJECT_IS_TOP_LEVEL)
    install(CODE "file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/install_prefix.txt \"\${CMAKE_INSTALL_PREFIX}\")")
    add_custom_target(uninstall
        COMMAND ${CMAKE_COMMAND} -D build=${CMAKE_CURRENT_BINARY_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
        VERBATIM)
endif()
