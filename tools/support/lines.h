#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/status_line.h"

namespace blnits {

/// The lines of a text file of any origin, read as a stream. A line ends with LF, CR LF or CR; the last one needs no
/// end. Time grows with the size of the file; memory does not. Shows on a terminal how far it has read.
class LineReader {
 public:
  static constexpr size_t kMaxLineBytes = size_t{64} << 10;
  static constexpr size_t kMaxFileBytes = size_t{256} << 20;

  /// Opens the file and skips a UTF-8 byte order mark. \throws Failure if the file cannot be read or is UTF-16.
  explicit LineReader(const std::string& path);

  const std::string& Path() const { return path_; }

  /// The text that is read but not yet taken: before the first Next(), the first kMaxLineBytes of the file or more.
  std::string_view Ahead() const { return {buffer_.data() + at_, end_ - at_}; }

  /// Goes to the next line. False at the end of the file.
  /// \throws Failure if the file cannot be read, or beyond kMaxLineBytes or kMaxFileBytes.
  bool Next();

  /// The text of the line, without its end. Valid until the following Next().
  std::string_view Text() const { return text_; }

  /// The number of the line, from 1.
  size_t Line() const { return line_; }

 private:
  void Fill();
  size_t EndOfLine() const;
  std::string Progress() const;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
  StatusLine status_;
  std::vector<char> buffer_;
  size_t at_ = 0;
  size_t end_ = 0;
  size_t bytes_ = 0;
  bool ended_ = false;
  bool after_return_ = false;  ///< A line feed now belongs to the carriage return before it.
  std::string_view text_;
  size_t line_ = 0;
};

}  // namespace blnits
