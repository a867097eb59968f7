#pragma once

/// \file
/// The way into the library: one exported function, and the factory that it returns.

#include <memory>
#include <string>

#include "backlight_nits_intf.h"

namespace zarn {

/// Makes components. Clients call the operations in the order of this table of virtual functions: nothing may be
/// inserted into it. Any thread may call any operation. No exception leaves an operation: running out of memory ends
/// the process.
class BackLightNitsFactoryIntf {
 public:
  /// Runs when the library is unloaded or the process exits; never call it.
  virtual ~BackLightNitsFactoryIntf() = default;

  /// The conversion engine of a panel: one for each name, shared by all who ask for it.
  /// \param panel_name any bytes, compared exactly; names the calibration file "backlight_calib_<panel_name>.xml".
  /// \return never null. A new engine is not initialised: call BackLightNitsIntf::Init. The factory keeps an owner of
  /// its own, so the engine and all its state live until the library is unloaded or the process exits, whatever
  /// happens to the handle.
  virtual std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) = 0;

  /// A new parser for a panel's calibration file, which it chooses here, once, by looking into the search directories.
  /// Engines use this; clients that want raw calibration data may.
  /// \param panel_name as above.
  /// \return never null, not initialised, owned by the caller.
  virtual std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) = 0;
};

}  // namespace zarn

/// The library's factory, made on the first call. The only symbol that the library exports; to be found by this name
/// with dlsym, or linked.
/// \return never null, the same on every call and from every thread; not owned by the caller, valid until the library
/// is unloaded.
extern "C" __attribute__((visibility("default"))) zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf();
