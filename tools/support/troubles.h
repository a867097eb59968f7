#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// Collects what is wrong in a file, so that one run tells all of it.
class Troubles {
 public:
  static constexpr size_t kLimit = 20;

  /// \param source the file's name in messages.
  explicit Troubles(std::string source) : source_(std::move(source)) {}

  /// Adds what was found on a line and what was expected. Messages have the order of the lines. \throws Failure with all of them beyond kLimit.
  void Add(size_t line, const std::string& text);

  /// \throws Failure with all of them if there are any.
  void Check() const;

 private:
  std::string source_;
  std::vector<std::pair<size_t, std::string>> faults_;  ///< Each with its line.
};

}  // namespace blnits
