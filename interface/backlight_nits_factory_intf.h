#pragma once

/// \file
/// The entry point of the library: one exported function, and the factory that it returns.

#include <memory>
#include <string>

#include "backlight_nits_intf.h"

namespace zarn {

/// Makes components: engines and parsers. Clients find each operation by its place among the virtual functions, so no
/// function may be inserted. Any thread may call any operation. The factory holds its lock while it writes log lines,
/// so a log handler must not call back into the library. No exception leaves an operation. If memory runs out, the
/// process ends.
class BackLightNitsFactoryIntf {
 public:
  /// Runs when the library is unloaded or the process exits. Never call it.
  virtual ~BackLightNitsFactoryIntf() = default;

  /// The conversion engine of a panel. Each name has one engine, which all clients of that name share: what one client
  /// sets, switches or deinitialises applies to all.
  /// \param panel_name any bytes, compared exactly, and used unchanged in the name of the calibration file,
  /// "backlight_calib_<panel_name>.xml". The library looks for the file in /vendor/etc/display/, then in
  /// /odm/etc/display/. If /vendor/etc/display/ does not exist, it looks in /usr/data/display/ instead; if that does
  /// not exist either, in the working directory. A name with a NUL differs from the part before the NUL, but paths and
  /// log lines end at the NUL, without the ".xml".
  /// \return never null. A new engine is not initialised: call BackLightNitsIntf::Init. The factory keeps its own
  /// reference, so the engine and its state live until the library is unloaded or the process exits, even without
  /// other handles. Release every handle before that.
  virtual std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) = 0;

  /// A new parser for a panel's calibration file. The parser searches the directories for the file here, and never
  /// again. Engines use this function. Clients may use it to read raw calibration data.
  /// \param panel_name as above.
  /// \return never null, not initialised. The caller owns the parser and destroys it before the library is unloaded.
  virtual std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) = 0;
};

}  // namespace zarn

/// The library's factory, created on the first call. This is the only symbol that the library exports. Link it, or look
/// it up by this name with dlsym. Any thread may call it.
/// \return never null, the same on every call. The caller does not own it. It is valid until the library is unloaded or
/// the process destroys its static objects.
extern "C" __attribute__((visibility("default"))) zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf();
