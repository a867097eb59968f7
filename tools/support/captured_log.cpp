#include "support/captured_log.h"

#include <cstdio>
#include <utility>

// Expands the variable arguments in each function: a va_list can be passed on, "..." cannot.
#define BLNITS_KEEP(level)        \
  va_list arguments;              \
  va_start(arguments, format);    \
  Keep(level, format, arguments); \
  va_end(arguments)

namespace blnits {

CapturedLog::CapturedLog() : before_(std::exchange(display::debug_handler_, this)) {}

CapturedLog::~CapturedLog() { display::debug_handler_ = before_; }

void CapturedLog::Error(const char* format, ...) { BLNITS_KEEP('E'); }

void CapturedLog::Warning(const char* format, ...) { BLNITS_KEEP('W'); }

void CapturedLog::Info(const char* format, ...) { BLNITS_KEEP('I'); }

void CapturedLog::Debug(const char* format, ...) { BLNITS_KEEP('D'); }

void CapturedLog::Verbose(const char* format, ...) { BLNITS_KEEP('V'); }

void CapturedLog::Keep(char level, const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  const std::lock_guard<std::mutex> guard(lock_);
  lines_[std::this_thread::get_id()].push_back({level, std::move(text)});
}

std::vector<LogLine> CapturedLog::Take() {
  const std::lock_guard<std::mutex> guard(lock_);
  const auto lines = lines_.find(std::this_thread::get_id());
  if (lines == lines_.end()) {
    return {};
  }
  std::vector<LogLine> taken = std::move(lines->second);
  lines_.erase(lines);
  return taken;
}

std::string CapturedLog::Reason() {
  const std::lock_guard<std::mutex> guard(lock_);
  for (const char level : {'E', 'W'}) {
    for (const LogLine& line : lines_[std::this_thread::get_id()]) {
      if (line.level == level) {
        return line.text;
      }
    }
  }
  return {};
}

std::string CapturedLog::InfoAfter(const std::string& start) {
  const std::lock_guard<std::mutex> guard(lock_);
  std::string found;
  for (const LogLine& line : lines_[std::this_thread::get_id()]) {
    if (line.level == 'I' && line.text.rfind(start, 0) == 0) {
      found = line.text.substr(start.size());
    }
  }
  return found;
}

}  // namespace blnits
