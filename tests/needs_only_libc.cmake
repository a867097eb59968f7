# Fails if a library needs another one than the system's C library.
execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" needed "${dynamic}")
list(FILTER needed EXCLUDE REGEX "\\[(libc|libm|ld-linux[^]]*)\\.so\\.[0-9]+\\]")
if(needed)
  message(FATAL_ERROR "needed: ${needed}")
endif()
