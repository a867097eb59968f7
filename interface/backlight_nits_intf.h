#pragma once

/// \file
/// What every component of the library can do: the conversion engine that clients use, and the calibration parser that
/// the engine uses.

#include "backlight_nits_records.h"
#include "generic_payload.h"

namespace zarn {

/// A component. Clients find each operation by its place among the virtual functions: nothing may be inserted.
///
/// Results: 0 for success, otherwise a negated error number:
///  - -22 (EINVAL): not initialised, a null output payload, a payload of the wrong record, a value out of range, or a
///    calibration file that is present but wrong;
///  - -95 (EOPNOTSUPP): an identifier that has no handler in that direction;
///  - -2 (ENOENT): no calibration file for the panel, or one that cannot be loaded;
///  - -12 (ENOMEM): a setter was given a payload of the right size whose record is missing (an empty payload has no size
///    and gives -22).
///
/// Every refusal writes its reason to the debug log, except where an operation says otherwise.
///
/// Threads: any thread may call any operation; each holds the component's lock from start to end, so calls on one
/// component are served one after the other. Log lines are written while that lock is held: a log handler must not call
/// back into the library.
///
/// A stack of 32 KiB suffices for every operation, without what a log handler takes.
///
/// No exception leaves an operation: running out of memory ends the process.
///
/// Payloads belong to the caller. A component uses them during the call only. An output record is meaningful only after
/// a result of 0.
class BackLightNitsIntf {
 public:
  /// Destroys the component. Its owner makes sure that no call is in progress.
  virtual ~BackLightNitsIntf() = default;

  /// Reads the panel's calibration file. Must have succeeded before SetParameter, GetParameter and ProcessOps are of
  /// use. May be called again at any time.
  ///
  /// An engine searches the file anew each time. Its dimming state and the maps made from its LUTs outlast a repetition;
  /// a level that such a map does not hold, since the range has grown, is then refused. A failed repetition leaves it
  /// initialised, without calibration data: what needs them gives -22 until an Init succeeds.
  ///
  /// A file is not loaded (-2) when it is no regular file, is larger than 32 MiB, has a tag of more than 2048 bytes or a
  /// character reference of more than 64 bytes, elements nested more than 64 deep, more than 5,000,000 nodes (elements,
  /// texts, comments and the like) or more than 1,000,000 attributes.
  ///
  /// Numbers in the file are read in the locale of the calling thread: where it has a decimal comma, 2.6875 becomes 2,
  /// without an error. Call Init while LC_NUMERIC is "C", which it is until somebody calls setlocale, or give the thread
  /// that locale with uselocale for the length of the call. No other operation depends on the locale.
  ///
  /// A parser reads the file that it chose when it was made. After a failed repetition it is not initialised.
  /// \return 0, -2 or -22.
  virtual int Init() = 0;

  /// Forgets the calibration and everything that was set, for every holder of the component. Harmless on one that is
  /// not initialised.
  /// \return always 0.
  virtual int Deinit() = 0;

  /// Hands a value in.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param payload holds that record; read during the call only.
  /// \return 0, -22, -95 or -12. A parser, which has nothing to set, answers -95 without a log line.
  virtual int SetParameter(BLNitsParams param, const GenericPayload& payload) = 0;

  /// Reads a value.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param[out] payload holds that record, created by the caller, and is filled. Tables are appended to what the record
  /// holds; a record's `size` is never written.
  /// \return 0, -22 or -95, which a parser answers for dimming.
  virtual int GetParameter(BLNitsParams param, GenericPayload* payload) = 0;

  /// Runs a conversion.
  /// \param op which one; BLNitOps names the records that belong to it.
  /// \param in holds the input record; read during the call only.
  /// \param[out] out holds the output record, created by the caller; written only when the result is 0. For kNitsToBL it
  /// may be the same payload as `in`.
  /// \return 0, -22 or -95. Two refusals write no log line: that of a parser, which converts nothing (-95), and that of
  /// an engine which is asked for a level while dimming is on and the map for it is empty (-22).
  virtual int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) = 0;
};

}  // namespace zarn
