#pragma once

#include <stdexcept>

namespace blnits {

/// A reading has failed and may be repeated. what() is printable and says why.
struct ReadingFailed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace blnits
