#pragma once

#include <memory>
#include <string>

#include "backlight_nits_intf.h"

namespace zarn {

/// The name under which this factory opens the file at `path`. It contains a slash, which marks it as a path.
std::string EngineNameOf(const std::string& path);

/// Makes a new engine, not initialised, for a panel's name or a name from EngineNameOf. Any thread.
std::shared_ptr<BackLightNitsIntf> MakeEngine(const std::string& name);

/// Makes a new parser, not initialised, for the same names. It returns the sparse linear table of the file. Any thread.
std::unique_ptr<BackLightNitsIntf> MakeParser(const std::string& name);

}  // namespace zarn
