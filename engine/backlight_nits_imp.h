#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_intf.h"
#include "noexcept.h"
#include "required_flags.h"
#include "thread_safety.h"

namespace zarn {

/// The two measured tables of one mode of operation, copied from the parser for one call.
struct MeasuredTables {
  GenericPayload mapping_table;
  GenericPayload mapping_tablefs;
  BackLightToNitsTable* table_10 = nullptr;   ///< In `mapping_table`: one tenth of the screen.
  BackLightToNitsTable* table_100 = nullptr;  ///< In `mapping_tablefs`: full screen.
};

/// The steps of fetching the measured tables, in order.
enum class FetchStep { kCreateTable10, kCreateTable100, kRequestTable10, kRequestTable100 };

/// The result of a fetch.
struct FetchResult {
  int ret;         ///< 0, or the code of the step that failed.
  FetchStep step;  ///< The last step that ran.
};

/// The outcome of an array conversion.
struct ArrayResult {
  int ret;             ///< 0, or the code for which no element was converted.
  size_t refused = 0;  ///< How many elements have no answer.
  size_t first = 0;    ///< The first of them.

  void Count(bool converted, size_t element) {
    first = !converted && refused == 0 ? element : first;
    refused += converted ? 0 : 1;
  }
};

/// The conversion engine of one panel.
class BackLightNitsImp : public BackLightNitsIntf {
 public:
  /// An engine that is not initialised. \param panel_name names the calibration file.
  explicit BackLightNitsImp(std::string panel_name);

  int Init() BLNITS_NOEXCEPT override;
  int Deinit() BLNITS_NOEXCEPT override;
  int SetParameter(BLNitsParams param, const GenericPayload& payload) BLNITS_NOEXCEPT override;
  int GetParameter(BLNitsParams param, GenericPayload* payload) BLNITS_NOEXCEPT override;
  int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) BLNITS_NOEXCEPT override;

  // For the C library: `count` conversions under one lock, without payloads. The tables are copied once.

  /// \param[out] nits NaN where a level is refused.
  ArrayResult NitsOf(const uint32_t* levels, size_t count, uint32_t percentage, bool hdr, double* nits);

  /// \param[out] levels UINT32_MAX where a luminance is refused.
  ArrayResult LevelsOf(const double* nits, size_t count, uint32_t percentage, bool hdr, uint32_t* levels);

  // The steps of the arithmetic. They read no engine state, so they need no lock.

  /// Luminance for `in`'s level and coverage (its `hdr` is not read), from the two tables of one mode. Writes all of
  /// `*out` but `size` and `hdr`. Writes nothing on failure.
  /// \return 0, or -EINVAL: coverage outside 1 to 100, or a table that does not allow interpolation.
  int CalculateNits(const BlBackLight* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                    const BackLightToNitsTable* table_10);

  /// Luminance for one level from one table: the measured value at a measured level, linear interpolation between two
  /// points, and the line through the origin and the nearest end of the table outside them.
  /// \return 0, or -EINVAL: a null pointer (nothing is written), or a table that does not allow interpolation (`*nits`
  /// is 0.0).
  int GetNitsValue(uint32_t bl, const BackLightToNitsTable* table, double* nits);

  /// The level for `in`'s luminance and coverage (its `bl` and `hdr` are not read), from the two tables of one mode.
  /// Between the coverages the level is truncated. Writes all of `*out` but `size` and `hdr`; writes last, so `out` may
  /// be `in`. Writes nothing on failure.
  /// \return 0, or -EINVAL: coverage outside 1 to 100, or a table that does not allow interpolation.
  int CalculateBl(const BlNitsValue* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                  const BackLightToNitsTable* table_10);

  /// The level for one luminance from one table: the inverse of GetNitsValue, rounded to the nearest level (halves away
  /// from zero), and at least 0.
  /// \return 0, or -EINVAL: a null pointer (nothing is written), or a table that does not allow interpolation (`*bl` is
  /// 0).
  int GetBlValue(double nits, const BackLightToNitsTable* table, uint32_t* bl);

  /// The level whose entry in the map is nearest to `nits`. Of two entries at the same distance, the lower level wins;
  /// of equal entries, the highest level.
  /// \return 0, or -EINVAL if the map is empty, without a log line and with `*bl` unchanged.
  int GetBlValue(double nits, const std::vector<double>& vb_to_nits_map, uint32_t* bl);

  /// Appends to `out` one pair for each linearized level from 0 to the last one of `in`. Panel levels between two pairs
  /// of `in` are interpolated and rounded to the nearest (halves away from zero). `out` must not be `in`.
  /// \return 0, or -EINVAL with `out` unchanged: `out` is null, or `in` has fewer than two pairs, does not rise, does
  /// not begin at 0, or ends above 1,048,575.
  int InterPolateBlLinearTable(const BLLinearTable& in, BLLinearTable* out);

  /// The straight line through `p1` and `p2` at `out->x`, into `out->y` (interpolation.h).
  /// \return 0, or -EINVAL: `out` is null, or both points have the same `x`.
  int InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2, BackLightCordinates* out);

  // Steps that use the parser: after an Init, with the lock held (or, in a test, with no other call in progress).

  /// Both measured tables of the mode that `hdr` chooses, the one-tenth table first. Logs nothing.
  FetchResult FetchMeasuredTables(bool hdr, MeasuredTables* tables) BLNITS_REQUIRES(lock_);

  /// The same for a conversion. On failure, logs an Error that names `function` and the failed step.
  /// \return 0, or the code of that step.
  int FetchTablesFor(const char* function, bool hdr, MeasuredTables* tables) BLNITS_REQUIRES(lock_);

  /// Rebuilds one map. The entry of a client level is the luminance of its dimmed level, times its attenuation.
  /// \param percentage 10 or 100; with any other value the map does not change and the result is 0.
  /// \return 0; the parser's error, and the map does not change; or -EINVAL if the table does not allow interpolation
  /// at some level, and the map is empty.
  int UpdateBlNitsMapping(uint32_t percentage, bool hdr, const BLRange* range, const DimmingLuts* luts,
                          std::vector<double>& map) BLNITS_REQUIRES(lock_);

 private:
  // All functions below run with the lock held. Their payload pointers are not null.

  bool CheckInitialized(const char* function) const BLNITS_REQUIRES(lock_);
  bool CheckLevel(uint32_t bl, const char* function) const BLNITS_REQUIRES(lock_);
  int BeginArray(const char* function, uint32_t percentage, bool hdr, MeasuredTables* tables) BLNITS_REQUIRES(lock_);

  // Handlers that forward to the parser.
  int GetBlGamma(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlRange(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetPccThresh(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlNitsMapping10Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlNitsMapping100Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlHdrNitsMapping10Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlHdrNitsMapping100Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);

  int GetBlLinearTable(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  void AppendSegment(const std::pair<uint32_t, uint32_t>& from, const std::pair<uint32_t, uint32_t>& to,
                     std::vector<std::pair<uint32_t, uint32_t>>* dense);

  // Dimming.
  int GetDimmingStatus(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetDimmingScale(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int SetDimmingStatus(const GenericPayload& payload) BLNITS_REQUIRES(lock_);
  int SetDimmingScale(const GenericPayload& payload) BLNITS_REQUIRES(lock_);
  int SetDimmingLuts(const GenericPayload& payload) BLNITS_REQUIRES(lock_);

  // kBLToNits.
  int ProcessBackLightToNits(const GenericPayload& in, GenericPayload* out) BLNITS_REQUIRES(lock_);
  int NitsFromMaps(const BlBackLight& in, bool hdr, BlNitsValue* out, const char* function) BLNITS_REQUIRES(lock_);
  int NitsFromTables(const BlBackLight& in, bool hdr, BlNitsValue* out, const char* function) BLNITS_REQUIRES(lock_);

  // kNitsToBL.
  int ProcessNitsToBackLight(const GenericPayload& in, GenericPayload* out) BLNITS_REQUIRES(lock_);
  int LevelFromMaps(const BlNitsValue& in, bool hdr, BlNitsValue* out) BLNITS_REQUIRES(lock_);
  int LevelFromTables(const BlNitsValue& in, bool hdr, BlNitsValue* out, const char* function) BLNITS_REQUIRES(lock_);
  template <class Source>
  int LevelIn(const BlNitsValue& in, const Source& at_10, const Source& at_100, uint32_t* bl);

  // Constant after construction.
  std::string panel_name_;

  std::mutex lock_;

  // Guarded by the lock.
  bool initialized_ BLNITS_GUARDED_BY(lock_) = false;
  bool dimming_enabled_ BLNITS_GUARDED_BY(lock_) = false;
  double dimming_scale_ BLNITS_GUARDED_BY(lock_) = 1.0;
  BLRange bl_range_ BLNITS_GUARDED_BY(lock_);
  std::unique_ptr<BackLightNitsIntf> parser_ BLNITS_GUARDED_BY(lock_);  // Never null while initialized_.

  // Constant after construction.
  std::map<BLNitsParams, int (BackLightNitsImp::*)(GenericPayload*)> get_param_funcs_;
  std::map<BLNitsParams, int (BackLightNitsImp::*)(const GenericPayload&)> set_param_funcs_;
  std::map<BLNitOps, int (BackLightNitsImp::*)(const GenericPayload&, GenericPayload*)> process_ops_funcs_;

  // Guarded by the lock: nits for each client level 0 to max_os_bl, computed from the dimming LUTs; empty without LUTs.
  std::vector<double> vb_to_nits_map_10_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> vb_to_nits_map_100_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> hdr_vb_to_nits_map_10_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> hdr_vb_to_nits_map_100_ BLNITS_GUARDED_BY(lock_);
};

}  // namespace zarn
