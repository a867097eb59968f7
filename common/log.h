#pragma once

#include "debug_handler.h"

namespace zarn {

/// Drops every line. Any thread may use it.
display::DebugHandler& SilentLog();

/// The process's log handler, or one that drops every line if the process has none. Any thread may call it.
inline display::DebugHandler& Log() {
  display::DebugHandler* const handler = display::debug_handler_;
  return handler != nullptr ? *handler : SilentLog();
}

}  // namespace zarn
