#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <exception>
#include <string_view>

#include "backlight_nits.h"

namespace blnits {

/// The text of bln_last_error(), which each thread has for itself. It has a fixed size: it is also written when memory
/// has run out.
class LastError {
 public:
  /// Never null.
  static const char* Text();

  /// Room for a text of at most this many bytes.
  static constexpr size_t kMaxBytes = 1023;
  static char* Room();

  /// Ends a text that was written into the room. \param size may exceed kMaxBytes: the text is then cut.
  static void End(size_t size);
};

/// Sets the text and returns `status`. Foreign text among the values must be printable.
template <class... Values>
bln_status Fail(bln_status status, fmt::format_string<Values...> format, const Values&... values) {
  LastError::End(fmt::format_to_n(LastError::Room(), LastError::kMaxBytes, format, values...).size);
  return status;
}

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
