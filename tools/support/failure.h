#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// An error that ends a subcommand: a refused file, level or option, or output that cannot be written. what() is the
/// complete line for the user. Exit status 2.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
  /// \param first the line of what(). \param others further lines for the user.
  Failure(const std::string& first, std::vector<std::string> others)
      : std::runtime_error(first), more(std::move(others)) {}

  std::vector<std::string> more;  ///< Lines after what().
};

/// The subcommand worked and its answer is negative; it has printed everything. Exit status 1.
struct Negative : std::exception {};

}  // namespace blnits
