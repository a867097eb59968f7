#pragma once

/// \file
/// Stand-in for the header of the device's debug-log library.

namespace display {

/// Receives the log lines of the display stack. The order of the virtual functions is that of the device's library.
/// Lines arrive on any thread, and the caller may hold a lock. An implementation must be thread-safe, must not call
/// back into the library that logs, and must not throw. Format and arguments are valid only during the call. A line has
/// no line break at its end. Pointers are formatted with "%pK": a handler without kernel-style formats prints the K.
class DebugHandler {
 public:
  /// A refusal or a failure.
  /// \param format as for printf, and so are the arguments after it. This holds for all five levels.
  virtual void Error(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// Something optional is missing, or a file is missing.
  virtual void Warning(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// A change of state.
  virtual void Info(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// Details for debugging.
  virtual void Debug(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// A trace within an operation.
  virtual void Verbose(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;

  virtual ~DebugHandler() = default;
};

/// The handler that receives the process's log lines; null turns logging off. This library does not own a handler that
/// a client sets: replace the handler before you destroy it. Set the pointer while no other thread uses the display
/// stack, because it is read without synchronisation. This library sets its own handler when it is loaded. That handler
/// writes Error and Warning lines to standard error and drops the others.
extern DebugHandler* debug_handler_;

}  // namespace display
