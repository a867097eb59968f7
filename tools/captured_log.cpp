#include "captured_log.h"

#include <cstdio>

namespace blnits {

CapturedLog::CapturedLog() { display::debug_handler_ = this; }

CapturedLog::~CapturedLog() { display::debug_handler_ = nullptr; }

void CapturedLog::Error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Keep(kError, format, arguments);
  va_end(arguments);
}

void CapturedLog::Warning(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Keep(kWarning, format, arguments);
  va_end(arguments);
}

void CapturedLog::Info(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Keep(kInfo, format, arguments);
  va_end(arguments);
}

void CapturedLog::Keep(int level, const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string line(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  std::vsnprintf(line.data(), line.size() + 1, format, again);
  va_end(again);
  const std::lock_guard<std::mutex> guard(lock_);
  lines_[level].push_back(std::move(line));
}

void CapturedLog::Clear() {
  const std::lock_guard<std::mutex> guard(lock_);
  for (auto& lines : lines_) {
    lines.clear();
  }
}

std::string CapturedLog::Reason() const {
  const std::lock_guard<std::mutex> guard(lock_);
  for (const int level : {kError, kWarning}) {
    if (!lines_[level].empty()) {
      return lines_[level].front();
    }
  }
  return {};
}

std::string CapturedLog::InfoAfter(const std::string& start) const {
  const std::lock_guard<std::mutex> guard(lock_);
  const auto& lines = lines_[kInfo];
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    if (line->compare(0, start.size(), start) == 0) {
      return line->substr(start.size());
    }
  }
  return {};
}

}  // namespace blnits
