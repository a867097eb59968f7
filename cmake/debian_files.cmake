# cpack runs this between installing and packing. It adds each package's changelog and compresses the manual page.
file(READ "${CPACK_BLNITS_SOURCE}/CHANGELOG.md" changes)
string(REGEX REPLACE ".*\n## ${CPACK_PACKAGE_VERSION}[^\n]*\n\n" "" changes "${changes}")
string(REGEX REPLACE "\n## .*" "" changes "${changes}")
string(REGEX REPLACE "\n+$" "" changes "\n${changes}")
string(REPLACE "\n  " "\n    " changes "${changes}")
string(REPLACE "\n- " "\n\n  * " changes "${changes}")
# Debian wants shorter lines.
set(wrapped "${CPACK_TEMPORARY_DIRECTORY}/changes")
file(WRITE "${wrapped}" "${changes}\n")
execute_process(COMMAND fmt --tagged-paragraph --width=78 "${wrapped}" OUTPUT_VARIABLE changes COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE "${wrapped}")
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

function(compress file)
  execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(package ${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  set(folder "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share")
  set(changelog "${folder}/doc/${package}/changelog.Debian")
  file(WRITE "${changelog}"
    "${CPACK_DEBIAN_PACKAGE_SOURCE} (${version}) unstable; urgency=medium${changes}\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")
  compress("${changelog}")
  file(GLOB pages "${folder}/man/man1/*.1")
  foreach(page IN LISTS pages)
    compress("${page}")
  endforeach()
endforeach()
