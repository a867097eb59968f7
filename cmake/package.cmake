# What `cmake --install` brings, for CMake and for pkg-config, and the Debian packages that cpack makes of it.
include(CMakePackageConfigHelpers)

set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/backlight_nits)
install(TARGETS backlight_nits debug_log blnits_interface
  EXPORT backlight_nits
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT development
  INCLUDES DESTINATION ${header_folder})
set_target_properties(blnits_interface PROPERTIES EXPORT_NAME interface)
# An installed tree works wherever it is.
set_target_properties(backlight_nits PROPERTIES INSTALL_RPATH "$ORIGIN")
if(BLNITS_TOOL)
  set_target_properties(blnits PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS blnits RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/backlight_nits)
install(EXPORT backlight_nits NAMESPACE backlight_nits:: DESTINATION ${package_folder} COMPONENT development
  FILE backlight_nits-targets.cmake)
configure_package_config_file(cmake/backlight_nits-config.cmake.in backlight_nits-config.cmake
  INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(backlight_nits-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/backlight_nits-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/backlight_nits-config-version.cmake
  DESTINATION ${package_folder} COMPONENT development)

# Relative, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# What a static library needs is part of every link.
if(BUILD_SHARED_LIBS)
  set(requires "debug_log")
  set(libs "-L\${libdir} -lbacklight_nits")
else()
  set(requires "debug_log, tinyxml2")
  set(libs "-L\${libdir} -lbacklight_nits -pthread")
endif()
foreach(name backlight_nits debug_log)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME backlight-nits)
set(CPACK_PACKAGE_CONTACT "The backlight-nits developers <backlight-nits@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_GENERATE_SHLIBS ON)  # and with that, ldconfig
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/export ${CMAKE_BINARY_DIR}/platform)
set(library_package libbacklight-nits${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}: the shared libraries")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libbacklight-nits-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${same_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION}: headers, for CMake and pkg-config")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME backlight-nits)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} ${same_version}")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS gnuplot-nox)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "${PROJECT_DESCRIPTION}: the tool for those who measure panels")
include(CPack)
