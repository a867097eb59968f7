#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_intf.h"
#include "required_flags.h"
#include "thread_safety.h"

namespace zarn {

/// The two measured tables of one mode of operation, copied out of the parser for one call.
struct MeasuredTables {
  GenericPayload mapping_table;
  GenericPayload mapping_tablefs;
  BackLightToNitsTable* table_10 = nullptr;   ///< In `mapping_table`: one tenth of the screen.
  BackLightToNitsTable* table_100 = nullptr;  ///< In `mapping_tablefs`: full screen.
};

/// The steps of fetching the measured tables, in their order.
enum class FetchStep { kCreateTable10, kCreateTable100, kRequestTable10, kRequestTable100 };

/// How a fetch ended.
struct FetchResult {
  int ret;         ///< 0, or the code of the step that failed.
  FetchStep step;  ///< The last step that was made.
};

/// The conversion engine of one panel.
class BackLightNitsImp : public BackLightNitsIntf {
 public:
  /// An engine that is not initialised. \param panel_name names the calibration file.
  explicit BackLightNitsImp(std::string panel_name);

  int Init() noexcept override;
  int Deinit() noexcept override;
  int SetParameter(BLNitsParams param, const GenericPayload& payload) noexcept override;
  int GetParameter(BLNitsParams param, GenericPayload* payload) noexcept override;
  int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) noexcept override;

  // The arithmetic, each step alone. No engine state is read: it needs no lock.

  /// Luminance for `in`'s level and coverage (its `hdr` is not read), from the two tables of one mode. Writes all of
  /// `*out` but `size` and `hdr`, and nothing on failure.
  /// \return 0, or -EINVAL: coverage outside 1 to 100, or a table that gives no straight line.
  int CalculateNits(const BlBackLight* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                    const BackLightToNitsTable* table_10);

  /// Luminance for one level from one table: a measured point as it stands, a straight line between two, and the line
  /// through the origin and the nearest end of the table outside them.
  /// \return 0, or -EINVAL: a null pointer, nothing is then written, or a table that gives no straight line, `*nits` is
  /// then 0.0.
  int GetNitsValue(uint32_t bl, const BackLightToNitsTable* table, double* nits);

  /// The level for `in`'s luminance and coverage (its `bl` and `hdr` are not read), from the two tables of one mode.
  /// Between the coverages it is truncated. Writes all of `*out` but `size` and `hdr`, last, so that `out` may be `in`;
  /// nothing on failure.
  /// \return 0, or -EINVAL: coverage outside 1 to 100, or a table that gives no straight line.
  int CalculateBl(const BlNitsValue* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                  const BackLightToNitsTable* table_10);

  /// The level for one luminance from one table: GetNitsValue the other way round, rounded to the nearest level, halves
  /// away from zero, and never below 0.
  /// \return 0, or -EINVAL: a null pointer, nothing is then written, or a table that gives no straight line, `*bl` is
  /// then 0.
  int GetBlValue(double nits, const BackLightToNitsTable* table, uint32_t* bl);

  /// The level whose entry in the map is nearest to `nits`: the lower one of two at the same distance, the highest of
  /// equal entries.
  /// \return 0, or -EINVAL, without a log line and with `*bl` untouched, when the map is empty.
  int GetBlValue(double nits, const std::vector<double>& vb_to_nits_map, uint32_t* bl);

  /// Appends to `out` one pair for each linearized level from 0 to the last one of `in`, the panel levels between two
  /// pairs of `in` interpolated and rounded to the nearest, halves away from zero. `out` is not `in`.
  /// \return 0, or -EINVAL, with `out` untouched: `out` is null, or `in` has fewer than two pairs, does not rise, does
  /// not begin at 0, or ends above 1,048,575.
  int InterPolateBlLinearTable(const BLLinearTable& in, BLLinearTable* out);

  /// The straight line through `p1` and `p2` at `out->x`, into `out->y` (interpolation.h).
  /// \return 0, or -EINVAL: `out` is null, or both points have the same `x`.
  int InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2, BackLightCordinates* out);

  // Steps that use the parser: after an Init, with the lock held (or, in a test, with no other call in progress).

  /// Both measured tables of the mode that `hdr` chooses, the one-tenth table first. Logs nothing.
  FetchResult FetchMeasuredTables(bool hdr, MeasuredTables* tables) BLNITS_REQUIRES(lock_);

  /// The same for a conversion, with an Error in the name of `function` that tells which step failed.
  /// \return 0, or the code of that step.
  int FetchTablesFor(const char* function, bool hdr, MeasuredTables* tables) BLNITS_REQUIRES(lock_);

  /// Rebuilds one map: for each client level the luminance of the level that the dimming LUT makes of it, times its
  /// attenuation.
  /// \param percentage 10 or 100; with any other the map stays as it is and the result is 0.
  /// \return 0; what the parser answered, the map then being untouched; or -EINVAL, the map then being empty: at some
  /// level the table gives no straight line.
  int UpdateBlNitsMapping(uint32_t percentage, bool hdr, const BLRange* range, const DimmingLuts* luts,
                          std::vector<double>& map) BLNITS_REQUIRES(lock_);

 private:
  // Below, everything runs with the lock held and, where a payload pointer is taken, not null.

  bool CheckInitialized(const char* function) const BLNITS_REQUIRES(lock_);

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

  // Guarded by the lock: nits for each client level 0 to max_os_bl, made from the dimming LUTs; empty without LUTs.
  std::vector<double> vb_to_nits_map_10_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> vb_to_nits_map_100_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> hdr_vb_to_nits_map_10_ BLNITS_GUARDED_BY(lock_);
  std::vector<double> hdr_vb_to_nits_map_100_ BLNITS_GUARDED_BY(lock_);
};

}  // namespace zarn
