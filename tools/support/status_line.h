#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace blnits {

/// One line on standard error that tells how far the work is. It is rewritten in place and erased at the end, so that
/// it never mixes with other output. Shows nothing unless standard error is a terminal that can erase (TERM is set and
/// not "dumb"). Erase it before other output, and have only one at a time. One thread at a time; a thread of its own shows
/// the first text while the caller waits.
class StatusLine {
 public:
  /// \param delay how long the work lasts before the first text of Update() is shown.
  explicit StatusLine(std::chrono::milliseconds delay = std::chrono::seconds(1));
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;
  ~StatusLine();

  /// Whether it shows anything.
  bool Shows() const { return shows_; }

  /// Shows what `text()` returns: printable text, which is cut to the terminal's width. At most ten times a second; the
  /// other calls take a few nanoseconds and do not call `text`. A call before the line is due takes a microsecond.
  template <class Text>
  void Update(Text text) {
    if (shows_ && Now() >= next_.load()) {
      Take(text());
    }
  }

  /// Shows a text at once, whatever the time: for the last text before the caller waits.
  void Show(std::string_view text);

  /// Removes the line and its text. The next text brings the line back.
  void Erase();

 private:
  static std::chrono::nanoseconds Now();
  void Take(std::string text);
  void ShowFirst();
  void Draw();

  const bool shows_;                    ///< Whether standard error is such a terminal.
  const std::chrono::nanoseconds due_;  ///< When the line may appear.
  std::mutex lock_;
  std::condition_variable ended_;
  std::atomic<std::chrono::nanoseconds> next_{std::chrono::nanoseconds(0)};  ///< When Update() takes its next text.
  bool ends_ = false;  // This and the following are guarded by the mutex.
  bool drawn_ = false;
  std::string text_;
  std::thread first_;  ///< Shows the text of that time when the line is due.
};

}  // namespace blnits
