#include "support/lines.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "foreign_text.h"
#include "support/failure.h"

namespace blnits {

LineReader::LineReader(const std::string& path)
    : path_(path), file_(std::fopen(path.c_str(), "rbe")), buffer_(2 * kMaxLineBytes) {
  if (file_ == nullptr) {
    throw Failure(fmt::format("{}: cannot be read", path_));
  }
  status_.Update([&] { return Progress(); });
  Fill();
  const std::string_view head = Ahead().substr(0, 3);
  if (head.substr(0, 2) == "\xff\xfe" || head.substr(0, 2) == "\xfe\xff") {
    throw Failure(fmt::format("{}:1: found UTF-16, expected UTF-8; convert it with iconv -f UTF-16 -t UTF-8", path_));
  }
  at_ = head == "\xef\xbb\xbf" ? head.size() : 0;
}

// Moves what is left to the front and fills the rest of the buffer.
void LineReader::Fill() {
  std::memmove(buffer_.data(), buffer_.data() + at_, end_ - at_);
  end_ -= std::exchange(at_, 0);
  const size_t wanted = buffer_.size() - end_;
  const size_t got = std::fread(buffer_.data() + end_, 1, wanted, file_.get());
  if (std::ferror(file_.get()) != 0) {
    throw Failure(fmt::format("{}: cannot be read", path_));
  }
  end_ += got;
  bytes_ += got;
  status_.Update([&] { return Progress(); });
  ended_ = got < wanted;
  if (bytes_ > kMaxFileBytes) {
    throw Failure(fmt::format("{}: found more than {} MiB, expected at most that", path_, kMaxFileBytes >> 20));
  }
}

// The share of a regular file. A pipe has no size.
std::string LineReader::Progress() const {
  struct stat status = {};
  const bool has_size = fstat(fileno(file_.get()), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
  return has_size
             ? fmt::format("reading: {} % of {}", 100 * bytes_ / static_cast<size_t>(status.st_size), Printable(path_))
             : fmt::format("reading: {} KiB of {}", bytes_ >> 10, Printable(path_));
}

size_t LineReader::EndOfLine() const {
  const char* const end = buffer_.data() + end_;
  const char* const stop = std::find_if(buffer_.data() + at_, end, [](const char c) { return c == '\n' || c == '\r'; });
  return static_cast<size_t>(stop - buffer_.data());
}

bool LineReader::Next() {
  if (at_ == end_ && !ended_) {
    Fill();
  }
  if (std::exchange(after_return_, false) && at_ < end_ && buffer_[at_] == '\n') {
    ++at_;
  }
  size_t end = EndOfLine();
  if (end == end_ && !ended_) {
    Fill();
    end = EndOfLine();
  }
  if (end == at_ && end == end_) {
    return false;
  }
  ++line_;
  if (end - at_ > kMaxLineBytes) {
    throw Failure(
        fmt::format("{}:{}: found a line of more than {} bytes, expected at most that", path_, line_, kMaxLineBytes));
  }
  text_ = {buffer_.data() + at_, end - at_};
  after_return_ = end < end_ && buffer_[end] == '\r';
  at_ = std::min(end + 1, end_);
  return true;
}

}  // namespace blnits
