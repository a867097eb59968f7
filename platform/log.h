#pragma once

#include "debug_handler.h"

namespace zarn {

/// The process's log handler, or one that drops everything while the process has none. Any thread.
display::DebugHandler& Log();

}  // namespace zarn
