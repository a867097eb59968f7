# The results must be exact to the last bit, so the library computes doubles as IEEE 754 defines, even if the
# surrounding project sets other flags. The last one of two contradicting flags wins. CMake drops an option that
# repeats an earlier one, even with other flags between them. To stay last, our options form one SHELL: group, which
# repeats nothing.
set(blnits_arithmetic_options "SHELL:-fno-fast-math -ffp-contract=off")

# -Ofast, -ffast-math and -funsafe-math-optimizations also link an object that makes the processor treat subnormal numbers
# as zero, in the whole process. A later -O overrides -Ofast; otherwise it affects only link-time optimization.
set(blnits_arithmetic_link_options "SHELL:-fno-fast-math -fno-unsafe-math-optimizations -O3")

# Compiles and links a test program like the library, in configuration `config`. Stops CMake with an error if the program
# computes wrong results.
function(blnits_check_arithmetic config)
  set(CMAKE_TRY_COMPILE_CONFIGURATION ${config})
  set(probe SOURCES ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/arithmetic.cpp NO_CACHE LINK_LIBRARIES blnits_probe)
  set(failed 0)
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    message(STATUS "The arithmetic of the build is not tested: there is no emulator to run it")
    try_compile(compiled ${probe} OUTPUT_VARIABLE errors)
  else()
    try_run(failed compiled ${probe} COMPILE_OUTPUT_VARIABLE errors RUN_OUTPUT_VARIABLE faults)
  endif()
  if(NOT compiled)
    message(FATAL_ERROR "A program does not compile with the options of the library:\n${errors}")
  endif()
  if(NOT failed EQUAL 0)
    string(TOUPPER "FLAGS_${config}" of_config)
    get_target_property(options blnits_probe INTERFACE_COMPILE_OPTIONS)
    list(JOIN options " " options)
    string(REPLACE "SHELL:" "" options "${options}")
    message(FATAL_ERROR "The results must be exact to the last bit, but with\n"
      "  ${CMAKE_CXX_COMPILER} ${CMAKE_CXX_FLAGS} ${CMAKE_CXX_${of_config}} ${options}\n"
      "the compiler\n${faults}Remove the flags that cause this.")
  endif()
endfunction()

get_directory_property(compile_options COMPILE_OPTIONS)
get_directory_property(link_options LINK_OPTIONS)
# Expressions about targets have no meaning outside this project.
list(FILTER compile_options EXCLUDE REGEX "<TARGET")
list(FILTER link_options EXCLUDE REGEX "<TARGET")
add_library(blnits_probe INTERFACE IMPORTED)
target_compile_options(blnits_probe INTERFACE
  ${compile_options} ${BLNITS_LIBRARY_OPTIONS} ${blnits_arithmetic_options})
target_link_options(blnits_probe INTERFACE ${link_options} ${blnits_arithmetic_link_options})
if(CMAKE_CONFIGURATION_TYPES)
  foreach(config IN LISTS CMAKE_CONFIGURATION_TYPES)
    blnits_check_arithmetic(${config})
  endforeach()
else()
  blnits_check_arithmetic("${CMAKE_BUILD_TYPE}")
endif()
