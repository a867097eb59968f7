#pragma once

#include "backlight_nits.h"

namespace blnits {

/// Where log lines go.
struct LogTarget {
  bln_log_function function = nullptr;  ///< Null: nowhere.
  void* user_data = nullptr;
};

/// Sends what the engine logs on this thread to a target, from construction to destruction.
class Logging {
 public:
  /// \param target must outlive this object.
  explicit Logging(const LogTarget& target);
  Logging(const Logging&) = delete;
  Logging& operator=(const Logging&) = delete;
  ~Logging();
};

}  // namespace blnits
