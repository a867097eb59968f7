#pragma once

#include <exception>
#include <stdexcept>

namespace blnits {

/// What keeps a subcommand from doing its job: a file, a level, an option that is refused, output that cannot be
/// written. what() is the whole line for the user. Exit status 2.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A run that did what it should, and whose answer is no: all is said already. Exit status 1.
struct Negative : std::exception {};

}  // namespace blnits
