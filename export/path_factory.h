#pragma once

#include <memory>
#include <string>

#include "backlight_nits_intf.h"

namespace zarn {

/// The name by which the tool's factory knows the file at `path`: with a slash in it, which a panel's name has not.
std::string EngineNameOf(const std::string& path);

/// An engine of its own, not initialised, for a panel's name or for what EngineNameOf made of a path. Any thread.
std::shared_ptr<BackLightNitsIntf> MakeEngine(const std::string& name);

/// A parser of its own, not initialised, likewise. Its linear table is the sparse one of the file. Any thread.
std::unique_ptr<BackLightNitsIntf> MakeParser(const std::string& name);

}  // namespace zarn
