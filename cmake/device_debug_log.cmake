# Links the device's debug-log library instead of the stand-in.
if(NOT TARGET "${BLNITS_DEBUG_LOG}" AND NOT EXISTS "${BLNITS_DEBUG_LOG}")
  message(FATAL_ERROR "BLNITS_DEBUG_LOG: found \"${BLNITS_DEBUG_LOG}\", expected a target or the path of a library")
endif()
add_library(backlight_nits_debug_log INTERFACE)
target_link_libraries(backlight_nits_debug_log INTERFACE "${BLNITS_DEBUG_LOG}")
if(BLNITS_DEBUG_LOG_HEADERS)
  target_include_directories(backlight_nits_debug_log INTERFACE "${BLNITS_DEBUG_LOG_HEADERS}")
endif()
if(NOT TARGET "${BLNITS_DEBUG_LOG}" AND NOT EXISTS "${BLNITS_DEBUG_LOG_HEADERS}/debug_handler.h")
  message(FATAL_ERROR
    "BLNITS_DEBUG_LOG_HEADERS: found \"${BLNITS_DEBUG_LOG_HEADERS}\", expected the folder of debug_handler.h")
endif()
