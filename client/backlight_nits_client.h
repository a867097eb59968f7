#pragma once

/// \file
/// The typed client: a panel's luminances and levels as plain numbers, errors as values.
///
/// Header-only, on top of the component interface; it makes the payloads itself. Results are tl::expected (Debian: libexpected-dev). Where the standard library has std::expected, a program
/// that defines BACKLIGHT_NITS_STD_EXPECTED gets that instead; the two kinds of Panel are different types for the linker.
///
/// Running out of memory is not an error value: it is std::bad_alloc, or the end of the process, as everywhere in the
/// standard library.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "backlight_nits_curve.h"
#include "backlight_nits_factory_intf.h"
#include "backlight_nits_intf.h"
#include "backlight_nits_records.h"
#include "generic_payload.h"

#ifdef BACKLIGHT_NITS_STD_EXPECTED
#include <expected>
#elif __has_include(<tl/expected.hpp>)
#include <tl/expected.hpp>
#else
#error "tl/expected.hpp is missing (Debian: libexpected-dev). With std::expected, define BACKLIGHT_NITS_STD_EXPECTED."
#endif

namespace zarn::client {

/// A payload with one record in it, for a call of the component interface. As GenericPayload: one thread at a time.
/// \tparam Record the record that BLNitsParams or BLNitOps names for the call.
template <class Record>
struct Holding {
  /// A default-initialised record.
  Holding() { payload.CreatePayload(record); }
  /// A copy of `source`. What the record merely points to is not copied.
  explicit Holding(const Record& source) : Holding() { *record = source; }
  /// The record.
  Record* operator->() { return record; }

  GenericPayload payload;    ///< Owns the record.
  Record* record = nullptr;  ///< Never null; valid as long as the payload.
};

/// Elements side by side that somebody else owns: a std::vector, a std::array, a std::span, or a pointer and a count.
template <class T>
class View {
 public:
  /// \param data the first element; the elements stay valid while the view is used.
  /// \param size how many there are.
  View(const T* data, size_t size) : data_(data), size_(size) {}
  /// \param container any that has `data()` and `size()`; it stays unchanged while the view is used.
  template <class Container, class = std::enable_if_t<
                                 std::is_convertible_v<decltype(std::declval<const Container&>().data()), const T*>>>
  View(const Container& container) : View(container.data(), container.size()) {}

  /// The first element.
  const T* data() const { return data_; }
  /// How many elements there are.
  size_t size() const { return size_; }

 private:
  const T* data_;
  size_t size_;
};

#ifdef BACKLIGHT_NITS_STD_EXPECTED
inline namespace with_std_expected {
namespace expected_library = std;
#else
inline namespace with_tl_expected {
namespace expected_library = tl;
#endif

/// Which measured curves a conversion follows.
enum class Mode {
  kStandard,        ///< Standard operation.
  kHighBrightness,  ///< High-brightness operation (HDR).
};

/// The test pattern of a measurement, by its coverage in per cent.
enum class Pattern {
  kOneTenth = 10,     ///< One tenth of the screen lit.
  kFullScreen = 100,  ///< The full screen lit.
};

/// What a Panel was asked to do.
enum class Operation {
  kOpen,             ///< Panel::Open
  kAttach,           ///< Panel::Attach
  kInit,             ///< Panel::Init
  kNits,             ///< Panel::Nits
  kLevel,            ///< Panel::Level
  kSample,           ///< Panel::Sample
  kRange,            ///< Panel::Range
  kGamma,            ///< Panel::Gamma
  kThreshold,        ///< Panel::Threshold
  kMeasuredTable,    ///< Panel::MeasuredTable
  kLinearTable,      ///< Panel::LinearTable
  kDimming,          ///< Panel::Dimming
  kSetDimming,       ///< Panel::SetDimming
  kDimmingScale,     ///< Panel::DimmingScale
  kSetDimmingScale,  ///< Panel::SetDimmingScale
  kSetDimmingLuts,   ///< Panel::SetDimmingLuts
};

/// Why an operation has no result. The debug log has the engine's reason in words.
struct Error {
  /// A negated error number, as BackLightNitsIntf lists them: -22 (EINVAL), -2 (ENOENT), -95 (EOPNOTSUPP), -12 (ENOMEM);
  /// of Panel::Sample also -7 (E2BIG).
  int code;
  Operation operation;            ///< What failed.
  std::optional<uint32_t> level;  ///< The client level that was refused, by kNits and kSample; otherwise nothing.
};

/// What an operation does, in words: "convert a level to nits".
inline const char* Words(Operation operation) {
  switch (operation) {
    case Operation::kOpen:
      return "open the panel";
    case Operation::kAttach:
      return "attach to an engine";
    case Operation::kInit:
      return "read the calibration file";
    case Operation::kNits:
      return "convert a level to nits";
    case Operation::kLevel:
      return "convert nits to a level";
    case Operation::kSample:
      return "sample a curve";
    case Operation::kRange:
      return "read the backlight range";
    case Operation::kGamma:
      return "read the gamma";
    case Operation::kThreshold:
      return "read the threshold";
    case Operation::kMeasuredTable:
      return "read a measured table";
    case Operation::kLinearTable:
      return "read the linear table";
    case Operation::kDimming:
      return "read the dimming status";
    case Operation::kSetDimming:
      return "set the dimming status";
    case Operation::kDimmingScale:
      return "read the dimming scale";
    case Operation::kSetDimmingScale:
      return "set the dimming scale";
    case Operation::kSetDimmingLuts:
      return "set the dimming LUTs";
  }
  return "do an unknown operation";
}

/// An error in words, for a log: "cannot open the panel: no calibration file, or one that cannot be loaded (-2)".
inline std::string Words(const Error& error) {
  const auto reason = [](int code) {
    switch (code) {
      case -EINVAL:
        return "not initialised, a value out of range or a wrong calibration file";
      case -ENOENT:
        return "no calibration file, or one that cannot be loaded";
      case -EOPNOTSUPP:
        return "not supported";
      case -E2BIG:
        return "too many levels";
      default:
        return "failed";
    }
  };
  std::string words = std::string("cannot ") + Words(error.operation);
  if (error.level) {
    words += " at level " + std::to_string(*error.level);
  }
  return words + ": " + reason(error.code) + " (" + std::to_string(error.code) + ")";
}

/// A value, or the reason why there is none. Use what tl::expected and std::expected have in common.
template <class T>
using Result = expected_library::expected<T, Error>;

/// One panel's engine, for a client. A handle: copies share the engine, and so does everybody else in the process who
/// has asked for the same panel. What one of them sets holds for all. Moving copies.
///
/// Coverage is the share of the screen that is lit, 1 to 100 per cent; anything else is refused with -22. A client level
/// is 0 to BLRange::max_os_bl. Luminance is in nits.
///
/// Threads: any thread may call any function, also on one Panel. Each is one call of the engine, except where a function
/// says otherwise; the engine serves one call after the other. Assigning to a Panel needs the caller's synchronisation.
///
/// Errors: -22 when the engine is not initialised, or has no calibration data since an Init failed; others as each
/// function says.
class Panel {
 public:
  /// Client levels beyond this one are not sampled: the same limit as for linearized levels.
  static constexpr uint32_t kHighestSampledLevel = 1048575;

  /// The engine of a panel, from the library's factory, initialised. If the engine is initialised already, its
  /// calibration file is read anew.
  /// \param name the panel's name: of a file backlight_calib_<name>.xml, searched as BackLightNitsFactoryIntf says.
  /// \return -2 without a file that can be loaded, -22 when the file is wrong.
  static Result<Panel> Open(std::string name) {
    Panel panel(GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(std::move(name)));
    const int ret = panel.engine_->Init();
    return ret == 0 ? Result<Panel>(std::move(panel)) : Failure(ret, Operation::kOpen);
  }

  /// An engine that somebody else initialises. It is not called here. A parser of the factory can be attached, too: it
  /// serves range, gamma, threshold and the tables, the linear table as it stands in the file.
  /// \return -22 when `engine` is null.
  static Result<Panel> Attach(std::shared_ptr<BackLightNitsIntf> engine) {
    return engine != nullptr ? Result<Panel>(Panel(std::move(engine))) : Failure(-EINVAL, Operation::kAttach);
  }

  /// Shares the engine.
  Panel(const Panel&) = default;
  /// Shares the engine of the other panel.
  Panel& operator=(const Panel&) = default;
  ~Panel() = default;

  /// Reads the calibration file anew, for all who share the engine: BackLightNitsIntf::Init.
  /// \return -2 or -22, as Open; the engine then has no calibration data.
  Result<void> Init() { return Done(engine_->Init(), Operation::kInit); }

  /// Forgets the calibration and everything that was set, for all who share the engine: BackLightNitsIntf::Deinit.
  void Deinit() { engine_->Deinit(); }

  /// The luminance of a client level in nits, not rounded. Many conversions are quicker by a Curve: see Sample.
  /// \param level 0 to BLRange::max_os_bl. \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also for a level or a coverage out of range, and when the measured table gives no straight line.
  Result<double> Nits(uint32_t level, uint32_t coverage, Mode mode = Mode::kStandard) const {
    Sampler sampler(coverage, mode);
    const int ret = sampler.Ask(engine_.get(), level);
    return ret == 0 ? Result<double>(sampler.answer->nits) : Failure(ret, Operation::kNits, level);
  }

  /// The client level for a luminance. With dimming off it may exceed BLRange::max_os_bl, and between the measured
  /// coverages it need not be the level that gives `nits`; Curve::Level is.
  /// \param nits any number. \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also for a coverage out of range, when the measured table gives no straight line, and with dimming on
  /// but no LUTs set.
  Result<uint32_t> Level(double nits, uint32_t coverage, Mode mode = Mode::kStandard) const {
    Holding<BlNitsValue> value;
    value->percentage = coverage;
    value->nits = nits;
    value->hdr = mode == Mode::kHighBrightness;
    const int ret = engine_->ProcessOps(kNitsToBL, value.payload, &value.payload);
    return ret == 0 ? Result<uint32_t>(value->bl) : Failure(ret, Operation::kLevel);
  }

  /// The luminances of all client levels at one coverage. Asks the engine for the range, and then once for each level,
  /// 0 to BLRange::max_os_bl; the engine's state is not touched.
  ///
  /// The curve is a snapshot. Take another after an Init, after dimming was switched, and after LUTs were set. Calls of
  /// other threads are served between two levels: if one of them changes the engine meanwhile, the curve has both kinds
  /// of luminances.
  /// \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also when the engine refuses a level, which the error names; -7 (E2BIG) when BLRange::max_os_bl is
  /// above kHighestSampledLevel.
  Result<Curve> Sample(uint32_t coverage, Mode mode = Mode::kStandard) const {
    const Result<BLRange> range = Range();
    if (!range) {
      return Failure(range.error().code, Operation::kSample);
    }
    if (range->max_os_bl > kHighestSampledLevel) {
      return Failure(-E2BIG, Operation::kSample);
    }
    Sampler sampler(coverage, mode);
    std::vector<double> nits(size_t{range->max_os_bl} + 1);
    for (uint32_t level = 0; level <= range->max_os_bl; ++level) {
      const int ret = sampler.Ask(engine_.get(), level);
      if (ret != 0) {
        return Failure(ret, Operation::kSample, level);
      }
      nits[level] = sampler.answer->nits;
    }
    return Curve(std::move(nits));
  }

  /// The backlight range, in panel levels and client levels.
  Result<BLRange> Range() const {
    Holding<BLRange> held;
    const int ret = engine_->GetParameter(kBLRange, &held.payload);
    return ret == 0 ? Result<BLRange>(*held.record) : Failure(ret, Operation::kRange);
  }

  /// The exponent of the panel's transfer curve, without unit, as it stands in the file.
  Result<double> Gamma() const { return Read(kBLGamma, &BLGamma::gamma, Operation::kGamma); }

  /// The threshold of the colour-correction (PCC) attenuation: a factor, 1.0 when the file gives none.
  Result<double> Threshold() const { return Read(kBLPccThresh, &BLPccThresh::pcc_thresh, Operation::kThreshold); }

  /// One of the four measured tables: client levels and their luminances in nits, in the order of the file, unsorted.
  Result<std::vector<BlNitsPoint>> MeasuredTable(Pattern pattern, Mode mode = Mode::kStandard) const {
    const bool one_tenth = pattern == Pattern::kOneTenth;
    const BLNitsParams standard = one_tenth ? kBLNitsMapping10Percent : kBLNitsMapping100Percent;
    const BLNitsParams high = one_tenth ? kBLHdrNitsMapping10Percent : kBLHdrNitsMapping100Percent;
    return Read(mode == Mode::kHighBrightness ? high : standard, &BackLightToNitsTable::points,
                Operation::kMeasuredTable);
  }

  /// The dense linear table: for each linearized level from 0 to the file's last one (`first`) its panel level
  /// (`second`).
  /// \return -22 also when the file's table cannot be filled in: BLLinearTable says which.
  Result<std::vector<std::pair<uint32_t, uint32_t>>> LinearTable() const {
    return Read(kBLLinearTable, &BLLinearTable::entries, Operation::kLinearTable);
  }

  /// Whether dimming is on.
  Result<bool> Dimming() const { return Read(kBLDimmingStatus, &BLDimmingStatus::enabled, Operation::kDimming); }

  /// Switches dimming. While it is on, conversions read the maps made from the dimming LUTs; without LUTs every level
  /// has 0.0 nits. Switching it off sets the scale back to 1.0.
  Result<void> SetDimming(bool enabled) {
    BLDimmingStatus status;
    status.enabled = enabled;
    return Write(kBLDimmingStatus, status, Operation::kSetDimming);
  }

  /// The dimming scale: a factor, 1.0 at first. No conversion uses it.
  Result<double> DimmingScale() const {
    return Read(kBLDimmingScale, &BLDimmingScale::scale, Operation::kDimmingScale);
  }

  /// Sets the dimming scale. \param scale any number; kept until dimming is switched off.
  Result<void> SetDimmingScale(double scale) {
    BLDimmingScale record;
    record.scale = scale;
    return Write(kBLDimmingScale, record, Operation::kSetDimmingScale);
  }

  /// Hands in the two lookup tables of dimming. Does not switch dimming on. Both are read during the call only.
  /// \param panel_levels the dimmed panel level of each panel level: BLRange::max_bl + 1 entries.
  /// \param attenuation a factor on the luminance of each client level: BLRange::max_os_bl + 1 entries.
  /// \return -22 also for a wrong number of entries, which changes nothing, and when a measured table gives no straight
  /// line at some level: DimmingLuts says what is changed then.
  Result<void> SetDimmingLuts(View<uint32_t> panel_levels, View<double> attenuation) {
    if (panel_levels.size() > UINT32_MAX || attenuation.size() > UINT32_MAX) {
      return Failure(-EINVAL, Operation::kSetDimmingLuts);
    }
    DimmingLuts luts;
    luts.bl_lut_sz = static_cast<uint32_t>(panel_levels.size());
    luts.dimming_bl_lut = const_cast<uint32_t*>(panel_levels.data());  // only read
    luts.pcc_lut_sz = static_cast<uint32_t>(attenuation.size());
    luts.pcc_attn_lut = const_cast<double*>(attenuation.data());
    return Write(kBLDimmingLuts, luts, Operation::kSetDimmingLuts);
  }

  /// The engine, for calls by payloads. Never null.
  const std::shared_ptr<BackLightNitsIntf>& Engine() const { return engine_; }

 private:
  /// The records of kBLToNits at one coverage, for one level after the other.
  struct Sampler {
    Sampler(uint32_t coverage, Mode mode) {
      question->percentage = coverage;
      question->hdr = mode == Mode::kHighBrightness;
    }
    int Ask(BackLightNitsIntf* engine, uint32_t level) {
      question->bl = level;
      return engine->ProcessOps(kBLToNits, question.payload, &answer.payload);
    }

    Holding<BlBackLight> question;
    Holding<BlNitsValue> answer;
  };

  explicit Panel(std::shared_ptr<BackLightNitsIntf> engine) : engine_(std::move(engine)) {}

  static expected_library::unexpected<Error> Failure(int code, Operation operation,
                                                     std::optional<uint32_t> level = std::nullopt) {
    return expected_library::unexpected<Error>(Error{code, operation, level});
  }

  static Result<void> Done(int ret, Operation operation) { return ret == 0 ? Result<void>() : Failure(ret, operation); }

  template <class Record, class Value>
  Result<Value> Read(BLNitsParams param, Value Record::*field, Operation operation) const {
    Holding<Record> held;
    const int ret = engine_->GetParameter(param, &held.payload);
    return ret == 0 ? Result<Value>(std::move((*held.record).*field)) : Failure(ret, operation);
  }

  template <class Record>
  Result<void> Write(BLNitsParams param, const Record& record, Operation operation) {
    return Done(engine_->SetParameter(param, Holding<Record>(record).payload), operation);
  }

  std::shared_ptr<BackLightNitsIntf> engine_;
};

}  // namespace with_std_expected or with_tl_expected
}  // namespace zarn::client
