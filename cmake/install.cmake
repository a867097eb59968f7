# The files that `cmake --install` installs, and the package files for CMake and pkg-config.
include(CMakePackageConfigHelpers)

set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/backlight_nits)
install(TARGETS backlight_nits backlight_nits_debug_log blnits_interface blnits_client_headers blnits_client
  EXPORT backlight_nits
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT development
  INCLUDES DESTINATION ${header_folder})
set_target_properties(blnits_interface PROPERTIES EXPORT_NAME interface)
set_target_properties(blnits_client_headers PROPERTIES EXPORT_NAME client_headers)
set_target_properties(blnits_client PROPERTIES EXPORT_NAME client)
set_target_properties(backlight_nits_debug_log PROPERTIES EXPORT_NAME debug_log)
# The installed libraries find each other wherever the tree is.
set_target_properties(backlight_nits PROPERTIES INSTALL_RPATH "$ORIGIN")
if(BLNITS_TOOL)
  set_target_properties(blnits PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS blnits RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install(DIRECTORY docs/schemas DESTINATION ${CMAKE_INSTALL_DATADIR}/backlight-nits COMPONENT tool)
  if(TARGET blnits_manual)
    install(FILES ${PROJECT_BINARY_DIR}/tools/blnits.1
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${PROJECT_BINARY_DIR}/tools/completion/blnits
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
  endif()
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

if(BLNITS_C)
  # An export set of its own: the C library's development files need none of the C++ library's.
  set(c_header_folder ${CMAKE_INSTALL_INCLUDEDIR}/backlight_nits_c)
  set(c_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/backlight_nits_c)
  get_target_property(c_version backlight_nits_c VERSION)
  install(TARGETS backlight_nits_c EXPORT backlight_nits_c
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT c_library NAMELINK_COMPONENT c_development
    FILE_SET HEADERS DESTINATION ${c_header_folder} COMPONENT c_development)
  install(EXPORT backlight_nits_c NAMESPACE backlight_nits:: DESTINATION ${c_package_folder} COMPONENT c_development
    FILE backlight_nits_c-config.cmake)
  write_basic_package_version_file(backlight_nits_c-config-version.cmake VERSION ${c_version}
    COMPATIBILITY SameMajorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/backlight_nits_c-config-version.cmake
    DESTINATION ${c_package_folder} COMPONENT c_development)
endif()

# A relative path, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(packages backlight_nits backlight_nits_client)
if(BLNITS_DEBUG_LOG)
  set(log_cflags "-I\"${BLNITS_DEBUG_LOG_HEADERS}\"")
  set(libs "\"${BLNITS_DEBUG_LOG}\"")
else()
  list(APPEND packages backlight_nits_debug_log)
  set(requires backlight_nits_debug_log)
endif()
# Every link to a static library also needs what that library links.
if(NOT BUILD_SHARED_LIBS)
  string(APPEND requires " tinyxml2")
  string(APPEND libs " -pthread")
endif()
foreach(name IN LISTS packages)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
if(BLNITS_C)
  configure_file(cmake/backlight-nits-c.pc.in backlight-nits-c.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/backlight-nits-c.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT c_development)

  # Only for cpack: pip, not `cmake --install`, knows where the user's Python looks for packages.
  set(python_folder lib/python3/dist-packages)
  install(DIRECTORY python/backlight_nits DESTINATION ${python_folder} COMPONENT python EXCLUDE_FROM_ALL
    FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)
  set(metadata ${PROJECT_BINARY_DIR}/backlight_nits-${PROJECT_VERSION}.egg-info)
  file(WRITE ${metadata} "Metadata-Version: 2.1\nName: backlight-nits\nVersion: ${PROJECT_VERSION}\n")
  install(FILES ${metadata} DESTINATION ${python_folder} COMPONENT python EXCLUDE_FROM_ALL)
endif()
