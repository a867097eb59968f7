#pragma once

#include <exception>
#include <stdexcept>

namespace blnits {

/// A conversion or a file that failed; what() is the whole line for the user. Exit status 1.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A command line that makes no sense; what() is the whole line for the user. Exit status 2.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A run that did what it should, and whose answer is no: all is said already. Exit status 1.
struct Negative : std::exception {};

}  // namespace blnits
