# The Debian packages that cpack makes from the installation.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME backlight-nits)
set(CPACK_PACKAGE_CONTACT "The backlight-nits developers <backlight-nits@example.org>"
  CACHE STRING "Maintainer of the Debian packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE backlight-nits)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/export ${PROJECT_BINARY_DIR}/platform)
# Programs that link the libraries depend on this version or a later one, because additions keep the SONAME (./dev abi).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# Adds what only Debian requires to the installed files: compressed changelogs.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian_files.cmake)
set(CPACK_BLNITS_SOURCE ${PROJECT_SOURCE_DIR})

set(library_package libbacklight-nits${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "The shared libraries, for display services. They export one function, and\nmake one engine for each panel from the panel's calibration file.")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libbacklight-nits-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${same_version}, libexpected-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "The headers of the libraries, and the files with which CMake and pkg-config\nlink them.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME backlight-nits)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} ${same_version}")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS gnuplot-nox)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
  "The command-line tool blnits, for those who measure panels: it makes,\nchecks, draws and compares calibration files.")

if(BLNITS_C)
  get_target_property(c_soversion backlight_nits_c SOVERSION)
  set(c_package libbacklight-nits-c${c_soversion})
  list(APPEND CPACK_COMPONENTS_ALL c_library c_development)
  set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_NAME ${c_package})
  set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
  set(CPACK_COMPONENT_C_LIBRARY_DESCRIPTION
    "The C library, for programs in any language: levels and luminances of\npanels from calibration files, single, as arrays and as sampled curves.")
  set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_NAME libbacklight-nits-c-dev)
  set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_DEPENDS "${c_package} ${same_version}")
  set(CPACK_COMPONENT_C_DEVELOPMENT_DESCRIPTION
    "The header of the C library, and what CMake and pkg-config need to link it.")

  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-backlight-nits)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= 3.9), python3-numpy, ${c_package} ${same_version}")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "The Python package backlight_nits, for colour scientists: levels and\nluminances of panels as NumPy arrays.")
  # Python's compiled files belong to the package, but are made where it is installed.
  file(WRITE ${PROJECT_BINARY_DIR}/debian/python/postinst "#!/bin/sh
set -e
if [ \"$1\" = configure ] && command -v py3compile >/dev/null; then
  py3compile -p python3-backlight-nits
fi
")
  file(WRITE ${PROJECT_BINARY_DIR}/debian/python/prerm "#!/bin/sh
set -e
if command -v py3clean >/dev/null; then
  py3clean -p python3-backlight-nits
fi
")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_BINARY_DIR}/debian/python/postinst ${PROJECT_BINARY_DIR}/debian/python/prerm)
endif()
include(CPack)
