#pragma once

/// \file
/// The way into the library: one exported function, and the factory that it returns.

#include <memory>
#include <string>

#include "backlight_nits_intf.h"

namespace zarn {

/// Makes components. Clients find each operation by its place among the virtual functions: nothing may be inserted. Any
/// thread may call any operation. Log lines are written while the factory's lock is held: a log handler must not call
/// back into the library. No exception leaves an operation: running out of memory ends the process.
class BackLightNitsFactoryIntf {
 public:
  /// Runs when the library is unloaded or the process exits; never call it.
  virtual ~BackLightNitsFactoryIntf() = default;

  /// The conversion engine of a panel: one for each name, shared by all who ask for it. What one of them sets, switches
  /// or deinitialises holds for all.
  /// \param panel_name any bytes, compared exactly; put as they are into the name of the calibration file,
  /// "backlight_calib_<panel_name>.xml". It is searched in /vendor/etc/display/ and, if it is not there, in
  /// /odm/etc/display/; where /vendor/etc/display/ does not exist, in /usr/data/display/; where that does not exist
  /// either, in the working directory. A name with a NUL in it is another name than the part before the NUL, but paths
  /// and log lines end there, without the ".xml".
  /// \return never null. A new engine is not initialised: call BackLightNitsIntf::Init. The factory keeps an owner of its
  /// own, so the engine and all its state live until the library is unloaded or the process exits, whatever happens to
  /// the handle. Drop every handle before that.
  virtual std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) = 0;

  /// A new parser for a panel's calibration file, which it chooses here, once, by looking into the search directories.
  /// Engines use this; clients that want raw calibration data may.
  /// \param panel_name as above.
  /// \return never null, not initialised, owned by the caller, who destroys it before the library is unloaded.
  virtual std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) = 0;
};

}  // namespace zarn

/// The library's factory, made on the first call. The only symbol that the library exports; to be found by this name
/// with dlsym, or linked. Any thread.
/// \return never null, the same on every call; not owned by the caller, valid until the library is unloaded or the
/// process destroys its static objects.
extern "C" __attribute__((visibility("default"))) zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf();
