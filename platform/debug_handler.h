#pragma once

/// \file
/// Stand-in for the header of the device's debug-log library.

namespace display {

/// Receives the log lines of the display stack. The order of the virtual functions is that of the device's library.
/// Lines arrive on any thread, and while whoever logs holds a lock: an implementation synchronises itself, must not call
/// back into the library that it serves, and must not throw. Format and arguments are valid during the call only; a line
/// comes without a line break. Pointers come as "%pK": a handler without kernel-style formats prints the K.
class DebugHandler {
 public:
  /// A refusal or a failure.
  /// \param format as for printf, like the arguments behind it; so for all five levels.
  virtual void Error(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// Something that is missing and can be done without, or a missing file.
  virtual void Warning(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// A change of state.
  virtual void Info(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// For whoever debugs.
  virtual void Debug(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// A trace within an operation.
  virtual void Verbose(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;

  virtual ~DebugHandler() = default;
};

/// Where the process's log lines go; null silences them. Not owned: a handler is replaced before it is destroyed. Set it
/// while no other thread uses the display stack: it is a plain pointer, read without synchronisation. This library's own
/// handler, there from when the library is loaded, writes Error and Warning to standard error and drops the rest.
extern DebugHandler* debug_handler_;

}  // namespace display
