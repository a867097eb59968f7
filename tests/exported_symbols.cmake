# Fails if the library exports anything except its entry point.
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY}
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [^\n]*\n" ";" symbols "${symbols}")
if(NOT symbols STREQUAL "GetBackLightNitsFactoryIntf;")
  message(FATAL_ERROR "exported: ${symbols}")
endif()
