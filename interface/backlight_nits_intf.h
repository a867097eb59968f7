#pragma once

/// \file
/// The interface of both components of the library: the conversion engine, which clients use, and the calibration
/// parser, which the engine uses.

#include "backlight_nits_records.h"
#include "generic_payload.h"

namespace zarn {

/// A component. Clients find each operation by its place among the virtual functions, so no function may be inserted.
///
/// Results: 0 for success, otherwise a negated error number:
///  - -22 (EINVAL): not initialised, a null output payload, a payload of the wrong record, a value out of range, or a
///    calibration file that exists but is faulty;
///  - -95 (EOPNOTSUPP): an identifier that has no handler in that direction;
///  - -2 (ENOENT): the panel has no calibration file, or its file cannot be loaded;
///  - -12 (ENOMEM): a setter got a payload of the right size whose record is missing (an empty payload has no size and
///    gives -22).
///
/// Every refusal writes its reason to the debug log, except where an operation says otherwise.
///
/// Threads: any thread may call any operation. Each operation holds the component's lock from start to end, so a
/// component serves one call after the other. It also holds the lock while it writes log lines, so a log handler must
/// not call back into the library.
///
/// A stack of 32 KiB suffices for every operation. Add what a log handler needs.
///
/// No exception leaves an operation. If memory runs out, the process ends.
///
/// Payloads belong to the caller. A component uses them only during the call. An output record is meaningful only after
/// a result of 0.
class BackLightNitsIntf {
 public:
  /// Destroys the component. The owner must ensure that no call is in progress.
  virtual ~BackLightNitsIntf() = default;

  /// Reads the panel's calibration file. SetParameter, GetParameter and ProcessOps work only after an Init that
  /// succeeded. Init may be called again at any time.
  ///
  /// An engine searches for the file each time. Its dimming state and the maps computed from its LUTs survive another
  /// Init. If the range has grown, a level beyond such a map is refused. If another Init fails, the engine stays
  /// initialised but has no calibration data: calls that need the data give -22 until an Init succeeds.
  ///
  /// A file is not loaded (-2) if it is not a regular file, is larger than 32 MiB, has a tag of more than 2048 bytes or
  /// a character reference of more than 64 bytes, elements nested more than 64 deep, more than 5,000,000 nodes
  /// (elements, texts, comments and the like) or more than 1,000,000 attributes.
  ///
  /// Numbers in the file are read in the locale of the calling thread. If that locale has a decimal comma, 2.6875
  /// becomes 2, without an error. Call Init while LC_NUMERIC is "C", which is so until the process calls setlocale, or
  /// set that locale for the thread with uselocale during the call. No other operation depends on the locale.
  ///
  /// A parser reads the file that it found when it was created. If another Init fails, the parser is no longer
  /// initialised.
  /// \return 0, -2 or -22.
  virtual int Init() = 0;

  /// Clears the calibration and everything that was set, for all who share the component. Harmless on a
  /// component that is not initialised.
  /// \return always 0.
  virtual int Deinit() = 0;

  /// Sets a value.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param payload holds that record; read only during the call.
  /// \return 0, -22, -95 or -12. A parser has nothing to set: it returns -95 without a log line.
  virtual int SetParameter(BLNitsParams param, const GenericPayload& payload) = 0;

  /// Reads a value.
  /// \param param which value; BLNitsParams names the record that belongs to it.
  /// \param[out] payload holds that record, which the caller creates and this call fills. Tables are appended to what
  /// the record holds. A record's `size` is never written.
  /// \return 0, -22 or -95. A parser returns -95 for the parameters of dimming.
  virtual int GetParameter(BLNitsParams param, GenericPayload* payload) = 0;

  /// Runs a conversion.
  /// \param op which one; BLNitOps names the records that belong to it.
  /// \param in holds the input record; read only during the call.
  /// \param[out] out holds the output record, which the caller creates; written only if the result is 0. For kNitsToBL
  /// it may be the same payload as `in`.
  /// \return 0, -22 or -95. Two refusals write no log line: a conversion on a parser (-95), and kNitsToBL while dimming
  /// is on and its map is empty (-22).
  virtual int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) = 0;
};

}  // namespace zarn
