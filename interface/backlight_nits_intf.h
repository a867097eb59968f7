#pragma once

/// \file
/// What every component of the library can do: the conversion engine that clients use, and the calibration parser that
/// the engine uses.

#include "backlight_nits_records.h"
#include "generic_payload.h"

namespace zarn {

/// A component. Clients call the operations in the order of this table of virtual functions: nothing may be inserted
/// into it.
///
/// Results: 0 for success, otherwise a negated error number:
///  - -22 (EINVAL): not initialised, a null output payload, a payload of the wrong record, a value out of range, or a
///    calibration file that is present but wrong;
///  - -95 (EOPNOTSUPP): an identifier that has no handler in that direction;
///  - -2 (ENOENT): no calibration file for the panel, or one that cannot be loaded;
///  - -12 (ENOMEM): a setter was given a payload without its record.
/// Every refusal writes its reason to the debug log, except where an operation says otherwise.
///
/// Threads: any thread may call any operation; each holds the component's lock from start to end, so calls on one
/// component are served one after the other. Log lines are written while that lock is held.
///
/// No exception leaves an operation: running out of memory ends the process.
///
/// Payloads belong to the caller. A component uses them during the call only. An output record is meaningful only after
/// a result of 0.
class BackLightNitsIntf {
 public:
  /// Destroys the component. Its owner makes sure that no call is in progress.
  virtual ~BackLightNitsIntf() = default;

  /// Finds and reads the panel's calibration file. Must have succeeded before SetParameter, GetParameter and ProcessOps
  /// are of use. May be called again at any time and then reads the file anew; a failed repetition leaves an engine
  /// that answers every request for calibration data with -22 until an Init succeeds. An engine's dimming state and
  /// the maps made from its LUTs outlast a repetition.
  /// \return 0, -2 or -22.
  virtual int Init() = 0;

  /// Forgets the calibration and everything that was set. Harmless on a component that is not initialised.
  /// \return always 0.
  virtual int Deinit() = 0;

  /// Hands a value in.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param payload holds that record; read during the call only.
  /// \return 0, -22, -95 or -12. A parser, which has nothing to set, answers -95 without a log line.
  virtual int SetParameter(BLNitsParams param, const GenericPayload& payload) = 0;

  /// Reads a value.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param[out] payload holds that record, created by the caller, and is filled. Tables are appended to what the
  /// record holds; a record's `size` is never written.
  /// \return 0, -22 or -95.
  virtual int GetParameter(BLNitsParams param, GenericPayload* payload) = 0;

  /// Runs a conversion.
  /// \param op which one; BLNitOps names the records that belong to it.
  /// \param in holds the input record; read during the call only.
  /// \param[out] out holds the output record, created by the caller; written only when the result is 0. For kNitsToBL
  /// it may be the same payload as `in`. \return 0, -22 or -95. A parser, which converts nothing, answers -95 without a
  /// log line.
  virtual int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) = 0;
};

}  // namespace zarn
