#pragma once

#include <exception>

#include "backlight_nits.h"

namespace blnits {

/// Sets the text of bln_last_error(), which each thread has for itself, and returns `status`. Allocates nothing, because
/// memory may have run out. A long text is cut. \param format as for printf. Foreign text must be printable.
bln_status Fail(bln_status status, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// The result of `function`, or BLN_NO_MEMORY if an allocation in it fails.
template <class Function>
bln_status Guarded(Function function) noexcept {
  try {
    return function();
  } catch (const std::exception&) {
    // Nothing but allocations throws: std::bad_alloc, or std::length_error for more than a vector can have.
    return Fail(BLN_NO_MEMORY, "out of memory");
  }
}

}  // namespace blnits
