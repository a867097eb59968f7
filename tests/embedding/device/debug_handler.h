#pragma once

// Stands for a device's own debug-log header.
namespace display {

class DebugHandler {
 public:
  virtual void Error(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void Warning(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void Info(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void Debug(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void Verbose(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual ~DebugHandler() = default;
};

extern DebugHandler* debug_handler_;

}  // namespace display
