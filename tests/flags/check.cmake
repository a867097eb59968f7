# Builds the library with COMPILER in BUILD_FOLDER several times, in projects whose flags change arithmetic. Each time,
# either LIBRARY_TEST must confirm that the results are the same, or CMake must refuse the configuration with a reason.
set(faults "")

function(configure_and_build)
  # Resets the variables that a row does not set.
  execute_process(
    COMMAND ${CMAKE_COMMAND} -G Ninja -S ${CMAKE_CURRENT_LIST_DIR} -B ${BUILD_FOLDER} -DCMAKE_CXX_COMPILER=${COMPILER}
            -DCMAKE_BUILD_TYPE=Release -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 -DCMAKE_CXX_FLAGS=
            -DCMAKE_CXX_FLAGS_RELEASE=-O2 -DCMAKE_SHARED_LINKER_FLAGS= -DSURROUNDING_OPTIONS= -DBLNITS_LIBRARY_OPTIONS=
            ${ARGN}
    COMMAND_ECHO NONE OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE result)
  if(result EQUAL 0)
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD_FOLDER} --target backlight_nits
      OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE result)
  endif()
  set(said "${said}" PARENT_SCOPE)
  set(result "${result}" PARENT_SCOPE)
endfunction()

macro(fault text)
  message("FAULT: ${ARGN}\n${text}")
  list(APPEND faults "${ARGN}")
endmacro()

# Expects that the library builds and gives the same results.
macro(the_same)
  configure_and_build(${ARGN})
  if(result EQUAL 0)
    execute_process(
      COMMAND ${CMAKE_COMMAND} -E env LD_PRELOAD=${BUILD_FOLDER}/backlight_nits/export/libbacklight_nits.so
              ${LIBRARY_TEST} --gtest_filter=Golden.*
      OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE result)
  endif()
  if(result EQUAL 0 AND said MATCHES "1 test from 1 test suite ran")
    message("the same: ${ARGN}")
  else()
    fault("${said}" ${ARGN})
  endif()
endmacro()

# Expects that the configuration is refused with `reason`.
macro(refused reason)
  configure_and_build(${ARGN})
  if(NOT result EQUAL 0 AND said MATCHES "the compiler.*${reason}")
    message("refused, ${reason}: ${ARGN}")
  else()
    fault("${said}" ${ARGN})
  endif()
endmacro()

execute_process(COMMAND ${COMPILER} -dumpmachine OUTPUT_VARIABLE machine)
file(STRINGS /proc/cpuinfo fma REGEX "[ \t]fma([ \t]|$)" LIMIT_COUNT 1)
set(fused -ffp-contract=fast)
if(fma)
  string(APPEND fused " -mfma")
endif()

the_same(-DCMAKE_CXX_FLAGS=-ffast-math)
the_same(-DCMAKE_CXX_FLAGS=-funsafe-math-optimizations)
the_same(-DCMAKE_CXX_FLAGS=-freciprocal-math)
the_same("-DCMAKE_CXX_FLAGS=-fassociative-math -fno-signed-zeros -fno-trapping-math")
the_same(-DCMAKE_CXX_FLAGS=-ffinite-math-only)
the_same("-DCMAKE_CXX_FLAGS=-fno-signed-zeros -fno-trapping-math -fno-math-errno -frounding-math -fexcess-precision=fast")
the_same("-DCMAKE_CXX_FLAGS=${fused}")
# Other sources of flags. CMake must not drop an option of ours as a repetition of one that a later flag reverses.
the_same(-DCMAKE_CXX_FLAGS_RELEASE=-Ofast)
the_same("-DSURROUNDING_OPTIONS=-ffp-contract=off ${fused} -fno-fast-math -ffast-math -fexceptions -fno-exceptions"
  -DBLNITS_LIBRARY_OPTIONS=-funsafe-math-optimizations -DCMAKE_SHARED_LINKER_FLAGS=-Ofast)
if(COMPILER MATCHES "clang")
  the_same(-DCMAKE_CXX_FLAGS=-ffp-model=fast)
  the_same(-DCMAKE_CXX_FLAGS=-fno-honor-nans)
  refused("rearranges sums" "-DCMAKE_CXX_FLAGS=-Xclang -menable-unsafe-fp-math -Xclang -mreassociate")
elseif(machine MATCHES "^x86_64")
  refused("keeps intermediate results in another precision" -DCMAKE_CXX_FLAGS=-mfpmath=387)
  refused("keeps intermediate results in another precision" "-DSURROUNDING_OPTIONS=$<$<CONFIG:Release>:-mfpmath=both>")
endif()

if(faults)
  list(JOIN faults "\n  " faults)
  message(FATAL_ERROR "The library is not the same library with\n  ${faults}")
endif()
