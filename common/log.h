#pragma once

#include "debug_handler.h"

namespace zarn {

/// Drops every line. Any thread.
display::DebugHandler& SilentLog();

/// The process's log handler, or one that drops everything while the process has none. Any thread.
inline display::DebugHandler& Log() {
  display::DebugHandler* const handler = display::debug_handler_;
  return handler != nullptr ? *handler : SilentLog();
}

}  // namespace zarn
