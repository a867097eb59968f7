#pragma once

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include "debug_handler.h"

/// Keeps every log line while it lives, as "<first letter of the level> <text>", with short names for the three
/// classes: "E engine::Init: failed to create the parser". Any thread.
class LogLines : public display::DebugHandler {
 public:
  LogLines() : before_(std::exchange(display::debug_handler_, this)) {}
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;
  ~LogLines() override { display::debug_handler_ = before_; }

#define BLNITS_KEEP(level)                                                             \
  void level(const char* format, ...) override __attribute__((format(printf, 2, 3))) { \
    va_list arguments;                                                                 \
    va_start(arguments, format);                                                       \
    Keep(#level[0], format, arguments);                                                \
    va_end(arguments);                                                                 \
  }
  BLNITS_KEEP(Error)
  BLNITS_KEEP(Warning)
  BLNITS_KEEP(Info)
  BLNITS_KEEP(Debug)
  BLNITS_KEEP(Verbose)
#undef BLNITS_KEEP

  /// `outcome`, followed by " | " and the line for each line since the last call.
  std::string With(const std::string& outcome) {
    const std::lock_guard<std::mutex> guard(lock_);
    return outcome + std::exchange(lines_, {});
  }
  std::string With(int result) { return With(std::to_string(result)); }

 private:
  void Keep(char level, const char* format, va_list arguments) {
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    std::string text = buffer;
    for (const auto& [name, nick] : {std::pair{"BackLightNitsImp::", "engine::"},
                                     {"BackLightNitsParserImp::", "parser::"},
                                     {"BackLightNitsFactoryIntfImp::", "factory::"}}) {
      if (text.rfind(name, 0) == 0) {
        text.replace(0, std::char_traits<char>::length(name), nick);
      }
    }
    const std::lock_guard<std::mutex> guard(lock_);
    lines_ += std::string(" | ") + level + " " + text;
  }

  display::DebugHandler* before_;
  std::mutex lock_;
  std::string lines_;
};
