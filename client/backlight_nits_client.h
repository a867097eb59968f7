#pragma once

/// \file
/// The typed client: a panel's luminances and levels as plain numbers, errors as values.
///
/// Header-only, on top of the component interface; it creates the payloads itself. Results are tl::expected (Debian:
/// libexpected-dev). If the standard library has std::expected, a program can define BACKLIGHT_NITS_STD_EXPECTED to use
/// that instead. The two kinds of Panel are different types for the linker.
///
/// If memory runs out, a function throws std::bad_alloc or the process ends. There is no error value for it.

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

/// A payload with one record, for a call of the component interface. Like GenericPayload: one thread at a time.
/// \tparam Record the record that BLNitsParams or BLNitOps names for the call.
template <class Record>
struct Holding {
  /// A default-initialised record.
  Holding() { payload.CreatePayload(record); }
  /// A copy of `source`. What the record points to is not copied.
  explicit Holding(const Record& source) : Holding() { *record = source; }
  /// The record.
  Record* operator->() { return record; }

  GenericPayload payload;    ///< Owns the record.
  Record* record = nullptr;  ///< Never null; valid as long as the payload exists.
};

/// Contiguous elements that the view does not own: a std::vector, a std::array, a std::span, or a pointer and a count.
template <class T>
class View {
 public:
  /// \param data the first element; the elements must stay valid while the view is used.
  /// \param size how many there are.
  View(const T* data, size_t size) : data_(data), size_(size) {}
  /// \param container any container with `data()` and `size()`; it must stay unchanged while the view is used.
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

/// The measured curves that a conversion uses.
enum class Mode {
  kStandard,        ///< Standard operation.
  kHighBrightness,  ///< High-brightness operation (HDR).
};

/// The test pattern of a measurement, by its coverage in per cent.
enum class Pattern {
  kOneTenth = 10,     ///< One tenth of the screen lit.
  kFullScreen = 100,  ///< The full screen lit.
};

/// The operation of a Panel that an Error belongs to.
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
  /// A negated error number, as BackLightNitsIntf lists them: -22 (EINVAL), -2 (ENOENT), -95 (EOPNOTSUPP), -12
  /// (ENOMEM); of Panel::Sample also -7 (E2BIG).
  int code;
  Operation operation;            ///< What failed.
  std::optional<uint32_t> level;  ///< The refused client level, for kNits and kSample; otherwise empty.
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
  return "perform an unknown operation";
}

/// An error in words, for a log: "cannot open the panel: the calibration file is missing or cannot be loaded (-2)".
inline std::string Words(const Error& error) {
  const auto reason = [](int code) {
    switch (code) {
      case -EINVAL:
        return "the engine is not initialised, a value is out of range, or the calibration file is faulty";
      case -ENOENT:
        return "the calibration file is missing or cannot be loaded";
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

/// A value or an error. Use only what tl::expected and std::expected have in common.
template <class T>
using Result = expected_library::expected<T, Error>;

/// A handle of one panel's engine. Copies share the engine, and so do all other clients of the same panel in the
/// process. What one of them sets applies to all. A move is a copy.
///
/// Coverage is the share of the screen that is lit, 1 to 100 per cent; any other value is refused with -22. A client
/// level is 0 to BLRange::max_os_bl. Luminance is in nits.
///
/// Threads: any thread may call any function, also on the same Panel. Each function calls the engine once, unless its
/// comment says otherwise. The engine serves one call after the other. Assigning to a Panel needs the caller's
/// synchronisation.
///
/// Errors: -22 if the engine is not initialised, or has no calibration data because an Init failed. Each function lists
/// its other errors.
class Panel {
 public:
  /// The highest level that Sample accepts. The same limit holds for linearized levels.
  static constexpr uint32_t kHighestSampledLevel = 1048575;

  /// Gets the engine of a panel from the library's factory and initialises it. If the engine is already initialised, it
  /// reads its calibration file again.
  /// \param name the panel's name. The file is backlight_calib_<name>.xml; BackLightNitsFactoryIntf lists its folders.
  /// \return -2 if there is no file or it cannot be loaded, -22 if the file is faulty.
  static Result<Panel> Open(std::string name) {
    Panel panel(GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(std::move(name)));
    const int ret = panel.engine_->Init();
    return ret == 0 ? Result<Panel>(std::move(panel)) : Failure(ret, Operation::kOpen);
  }

  /// Takes an engine that another part of the process initialises. Attach does not call the engine. A parser from the
  /// factory can be attached, too: it returns range, gamma, threshold and the tables. Its linear table is the file's.
  /// \return -22 if `engine` is null.
  static Result<Panel> Attach(std::shared_ptr<BackLightNitsIntf> engine) {
    return engine != nullptr ? Result<Panel>(Panel(std::move(engine))) : Failure(-EINVAL, Operation::kAttach);
  }

  /// Shares the engine.
  Panel(const Panel&) = default;
  /// Shares the engine of the other panel.
  Panel& operator=(const Panel&) = default;
  ~Panel() = default;

  /// Reads the calibration file again, for all who share the engine: BackLightNitsIntf::Init.
  /// \return -2 or -22, as Open; the engine then has no calibration data.
  Result<void> Init() { return Done(engine_->Init(), Operation::kInit); }

  /// Clears the calibration and everything that was set, for all who share the engine: BackLightNitsIntf::Deinit.
  void Deinit() { engine_->Deinit(); }

  /// The luminance of a client level in nits, not rounded. For many conversions a Curve is quicker: see Sample.
  /// \param level 0 to BLRange::max_os_bl. \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also for a level or a coverage out of range, and if the measured table does not allow interpolation.
  Result<double> Nits(uint32_t level, uint32_t coverage, Mode mode = Mode::kStandard) const {
    Sampler sampler(coverage, mode);
    const int ret = sampler.Ask(engine_.get(), level);
    return ret == 0 ? Result<double>(sampler.answer->nits) : Failure(ret, Operation::kNits, level);
  }

  /// The client level for a luminance. With dimming off it may exceed BLRange::max_os_bl. Between the measured
  /// coverages the round trip through Nits is not exact; use Curve::Level for an exact one.
  /// \param nits any number. \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also for a coverage out of range, if the measured table does not allow interpolation, and if dimming
  /// is on but no LUTs are set.
  Result<uint32_t> Level(double nits, uint32_t coverage, Mode mode = Mode::kStandard) const {
    Holding<BlNitsValue> value;
    value->percentage = coverage;
    value->nits = nits;
    value->hdr = mode == Mode::kHighBrightness;
    const int ret = engine_->ProcessOps(kNitsToBL, value.payload, &value.payload);
    return ret == 0 ? Result<uint32_t>(value->bl) : Failure(ret, Operation::kLevel);
  }

  /// The luminances of all client levels at one coverage. Asks the engine for the range, and then once for each level
  /// from 0 to BLRange::max_os_bl. The engine's state does not change.
  ///
  /// The curve is a snapshot. Sample again after Init, after dimming is switched on or off, and after LUTs are set. The
  /// engine serves calls of other threads between two levels. If such a call changes the engine, some luminances of the
  /// curve are from before the change and some from after it.
  /// \param coverage 1 to 100 per cent.
  /// \param mode which measured curves.
  /// \return -22 also if the engine refuses a level, which the error names; -7 (E2BIG) if BLRange::max_os_bl is above
  /// kHighestSampledLevel.
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

  /// The threshold of the colour-correction (PCC) attenuation: a factor, 1.0 if the file has none.
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
  /// \return -22 also if the engine refuses the file's table: BLLinearTable gives the conditions.
  Result<std::vector<std::pair<uint32_t, uint32_t>>> LinearTable() const {
    return Read(kBLLinearTable, &BLLinearTable::entries, Operation::kLinearTable);
  }

  /// Whether dimming is on.
  Result<bool> Dimming() const { return Read(kBLDimmingStatus, &BLDimmingStatus::enabled, Operation::kDimming); }

  /// Switches dimming on or off. While it is on, conversions use the maps computed from the dimming LUTs. Without LUTs
  /// every level has 0.0 nits. Switching dimming off sets the scale to 1.0.
  Result<void> SetDimming(bool enabled) {
    BLDimmingStatus status;
    status.enabled = enabled;
    return Write(kBLDimmingStatus, status, Operation::kSetDimming);
  }

  /// The dimming scale: a factor, 1.0 at first. No conversion uses it.
  Result<double> DimmingScale() const {
    return Read(kBLDimmingScale, &BLDimmingScale::scale, Operation::kDimmingScale);
  }

  /// Sets the dimming scale. \param scale any number; stored until dimming is switched off.
  Result<void> SetDimmingScale(double scale) {
    BLDimmingScale record;
    record.scale = scale;
    return Write(kBLDimmingScale, record, Operation::kSetDimmingScale);
  }

  /// Sets the two lookup tables of dimming. Does not switch dimming on. Both are read only during the call.
  /// \param panel_levels the dimmed panel level of each panel level: BLRange::max_bl + 1 entries.
  /// \param attenuation a factor on the luminance of each client level: BLRange::max_os_bl + 1 entries.
  /// \return -22 also for a wrong number of entries, which changes nothing, and if a measured table does not allow
  /// interpolation at some level: DimmingLuts says which maps then change.
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

  /// The engine, for calls with payloads. Never null.
  const std::shared_ptr<BackLightNitsIntf>& Engine() const { return engine_; }

 private:
  /// The records of kBLToNits at one coverage, reused for all levels.
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
