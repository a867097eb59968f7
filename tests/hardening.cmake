# Fails if library LIBRARY lacks the platform's protections against memory errors. With CHECKED_FUNCTIONS, LIBRARY calls
# string or file functions that have a checked form; they must be the checked ones.
execute_process(COMMAND ${READELF} -W --program-headers --dynamic ${LIBRARY}
                OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${NM} -D ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

function(expect text pattern protection)
  if(NOT text MATCHES "${pattern}")
    message(SEND_ERROR "${LIBRARY} lacks ${protection}")
  endif()
endfunction()

expect("${headers}" "GNU_RELRO" "relocations that are read-only after loading")
expect("${headers}" "BIND_NOW" "immediate binding")
expect("${headers}" "GNU_STACK [^\n]* RW " "a stack that is not executable")
expect("${symbols}" "__stack_chk_fail" "stack protection")
if(CHECKED_FUNCTIONS)
  expect("${symbols}" "__[a-z]+_chk[@\n]" "checked functions (_FORTIFY_SOURCE)")
endif()
