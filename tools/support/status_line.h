#pragma once

#include <chrono>
#include <string_view>

namespace blnits {

/// One line on standard error that tells how far the work is. It is rewritten in place and erased at the end, so that
/// it never mixes with other output. Shows nothing unless standard error is a terminal that can erase (TERM is set and
/// not "dumb"). Erase it before other output, and have only one at a time. One thread at a time.
class StatusLine {
 public:
  /// \param delay how long the work lasts before Update() shows anything.
  explicit StatusLine(std::chrono::milliseconds delay = std::chrono::seconds(1));
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;
  ~StatusLine() { Erase(); }

  /// Shows what `text()` returns, at most ten times a second. Takes a few nanoseconds if it shows nothing; it does not
  /// call `text` then.
  template <class Text>
  void Update(Text text) {
    if (shows_ && Now() >= due_) {
      Show(text());
    }
  }

  /// Shows a text at once, whatever the time: for the last text before the caller waits. \param text printable; it is
  /// cut to the terminal's width.
  void Show(std::string_view text);

  /// Removes the line from the terminal. The next text brings it back.
  void Erase();

 private:
  static std::chrono::nanoseconds Now();

  const bool shows_;  ///< Whether standard error is such a terminal.
  bool drawn_ = false;
  std::chrono::nanoseconds due_;  ///< When Update() shows its next text.
};

}  // namespace blnits
