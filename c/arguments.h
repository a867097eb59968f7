#pragma once

#include <initializer_list>

#include "backlight_nits.h"
#include "last_error.h"

namespace blnits {

/// An argument that must not be null.
struct Argument {
  const char* name;
  const void* pointer;
};

/// BLN_OK, or BLN_INVALID_ARGUMENT if one of `arguments` of `function` is null.
inline bln_status CheckNotNull(const char* function, std::initializer_list<Argument> arguments) {
  for (const Argument& argument : arguments) {
    if (argument.pointer == nullptr) {
      return Fail(BLN_INVALID_ARGUMENT, "%s: %s is null", function, argument.name);
    }
  }
  return BLN_OK;
}

/// The same for an array, which may be null if it has no elements.
inline Argument Array(const char* name, const void* pointer, size_t count) {
  return {name, count == 0 ? name : pointer};
}

/// BLN_OK, or BLN_INVALID_ARGUMENT if `mode` is no mode.
inline bln_status CheckMode(const char* function, bln_mode mode) {
  return mode == BLN_STANDARD || mode == BLN_HIGH_BRIGHTNESS
             ? BLN_OK
             : Fail(BLN_INVALID_ARGUMENT, "%s: mode is %d, expected BLN_STANDARD (0) or BLN_HIGH_BRIGHTNESS (1)",
                    function, mode);
}

}  // namespace blnits
