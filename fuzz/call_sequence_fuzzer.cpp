// Decodes a sequence of calls, and the calibration files for them, from any bytes. The earlier calls decide what the
// engine must answer.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

#include "bytes.h"
#include "invariants.h"
#include "target.h"

namespace {

using fuzz::Require;
using fuzz::Same;
using zarn::BLNitOps;
using zarn::BLNitsParams;
using zarn::GenericPayload;

/// A record that belongs to no identifier. Its size differs from that of every other record.
struct Stranger {
  char bytes[5] = {};
};

/// A payload that claims to hold a record of `size` bytes but holds none, as after a client's memory fault.
class HollowPayload {
 public:
  explicit HollowPayload(uint32_t size) { std::memcpy(reinterpret_cast<char*>(&payload), &size, sizeof size); }

  GenericPayload payload;
};

/// The calls of one input, and the state of the engine that follows from them.
class Session {
 public:
  Session(fuzz::CheckedPanel* panel, fuzz::Bytes bytes) : panel_(*panel), bytes_(bytes) {}

  void Run();

 private:
  void Init();
  void InitWithoutFile();
  void InitWithBadFile();
  void Deinit();
  void SetStatus();
  void SetScale();
  void SetLuts();
  void AskNits();
  void AskLevel();
  void AskParameters();
  void AskMeasuredTable(BLNitsParams param, const Points& points);
  void SetNeutralLuts();
  void GetWrongly();
  void SetWrongly();
  void ConvertWrongly();

  Calibration AnyCalibration();
  Points AnyPoints();
  Levels AnyLinearTable();
  uint32_t AnyCoverage();
  bool Calibrated() const { return initialized_ && loaded_; }
  void CheckHdr(const zarn::BlNitsValue& answer, bool asked) const;

  fuzz::CheckedPanel& panel_;
  fuzz::Bytes bytes_;

  bool initialized_ = false;
  bool loaded_ = false;  // Whether the last Init succeeded.
  bool dimming_ = false;
  double scale_ = 1.0;
  bool has_luts_ = false;      // Whether the engine may have maps.
  uint32_t longest_luts_ = 0;  // The highest client level of any map.
  Calibration calibration_;    // The last loaded calibration, with its range.
  zarn::BLRange range_;
};

void Session::Run() {
  static constexpr void (Session::*kCalls[])() = {
      &Session::Init,       &Session::Init,       &Session::InitWithoutFile, &Session::InitWithBadFile,
      &Session::Deinit,     &Session::SetStatus,  &Session::SetScale,        &Session::SetLuts,
      &Session::AskNits,    &Session::AskLevel,   &Session::AskParameters,   &Session::SetNeutralLuts,
      &Session::GetWrongly, &Session::SetWrongly, &Session::ConvertWrongly,
  };
  while (!bytes_.Empty()) {
    (this->*kCalls[bytes_.Below(std::size(kCalls))])();
  }
  panel_.Deinit();
}

void Session::Init() {
  range_.minimum_bl = 1;
  range_.max_bl = bytes_.HighestLevel();
  range_.max_os_bl = bytes_.HighestLevel();
  calibration_ = AnyCalibration();
  panel_.WriteFile(calibration_.Text());
  Require(panel_.Init() == 0, "Init accepts a valid calibration file");
  initialized_ = true;
  loaded_ = true;
}

void Session::InitWithoutFile() {
  panel_.RemoveFile();
  Require(panel_.Init() == -ENOENT, "Init returns -2 for a missing calibration file");
  loaded_ = false;
}

void Session::InitWithBadFile() {
  panel_.WriteFile("<Calib_Data gamma='2.2' minimum_bl='1'/>");
  Require(panel_.Init() == -EINVAL, "Init returns -22 for a faulty calibration file");
  loaded_ = false;
}

void Session::Deinit() {
  panel_.Deinit();
  initialized_ = false;
  dimming_ = false;
  scale_ = 1.0;
  has_luts_ = false;
  longest_luts_ = 0;
}

void Session::SetStatus() {
  const bool enabled = bytes_.Flag();
  const bool taken = panel_.SetDimming(enabled);
  Require(taken == initialized_, "the dimming status can be set after Init");
  dimming_ = taken && enabled;
  scale_ = dimming_ ? scale_ : 1.0;
}

void Session::SetScale() {
  const double scale = bytes_.Real();
  const bool taken = panel_.SetScale(scale);
  Require(taken == initialized_, "the dimming scale can be set after Init");
  scale_ = taken ? scale : scale_;
}

void Session::SetLuts() {
  std::vector<uint32_t> bl(size_t{range_.max_bl} + 1);
  std::vector<double> pcc(size_t{range_.max_os_bl} + 1);
  const uint32_t first = bytes_.Level();
  const uint32_t step = bytes_.Below(4);
  for (size_t i = 0; i < bl.size(); ++i) {
    bl[i] = first + static_cast<uint32_t>(i) * step;
  }
  const double factors[] = {bytes_.Real(), bytes_.Real()};
  for (size_t i = 0; i < pcc.size(); ++i) {
    pcc[i] = factors[i % 2];
  }
  const uint32_t fault = bytes_.Below(16);
  const bool taken = panel_.SetLuts({fault == 3 ? nullptr : bl.data(), bl.size() + (fault == 1 ? 1 : 0)},
                                    {fault == 4 ? nullptr : pcc.data(), pcc.size() - (fault == 2 ? 1 : 0)});
  const bool right = Calibrated() && (fault == 0 || fault > 4);
  Require(right || !taken, "LUTs are refused without calibration data, and with a wrong length or a null pointer");
  if (right) {
    has_luts_ = true;
    longest_luts_ = std::max(longest_luts_, range_.max_os_bl);
  }
}

void Session::AskNits() {
  const zarn::BlBackLight in{0, AnyCoverage(), bytes_.Level(), bytes_.Flag()};
  const auto answer = panel_.Nits(in);
  if (!answer) {
    return;
  }
  Require(initialized_ && (loaded_ || dimming_), "a conversion needs calibration data or maps");
  Require(in.bl <= range_.max_os_bl, "the engine converts only client levels within the range");
  Require(!dimming_ || has_luts_ || Same(answer->nits, 0.0), "dimming without LUTs gives no luminance");
  CheckHdr(*answer, in.hdr);
}

void Session::AskLevel() {
  const zarn::BlNitsValue in{0, AnyCoverage(), 0, bytes_.Real(), bytes_.Flag()};
  const auto answer = panel_.Level(in);
  if (!answer) {
    return;
  }
  Require(initialized_ && (dimming_ ? has_luts_ : loaded_), "a conversion needs calibration data or maps");
  Require(!dimming_ || answer->bl <= longest_luts_, "with dimming on, results are client levels of the maps");
  CheckHdr(*answer, in.hdr);
}

void Session::CheckHdr(const zarn::BlNitsValue& answer, bool asked) const {
  Require(answer.hdr == (dimming_ ? asked : !asked),
          "an answer has the hdr flag of the question only while dimming is on");
}

void Session::AskParameters() {
  const auto status = panel_.Get<zarn::BLDimmingStatus>(zarn::kBLDimmingStatus);
  Require(status.has_value() == initialized_ && (!status || status->enabled == dimming_),
          "the dimming status is what was set");
  const auto scale = panel_.Get<zarn::BLDimmingScale>(zarn::kBLDimmingScale);
  Require(scale.has_value() == initialized_ && (!scale || Same(scale->scale, scale_)),
          "the dimming scale is what was set");
  const auto range = panel_.Get<zarn::BLRange>(zarn::kBLRange);
  Require(range.has_value() == Calibrated(), "getters return calibration data if and only if the last Init succeeded");
  AskMeasuredTable(zarn::kBLNitsMapping10Percent, calibration_.standard_10);
  AskMeasuredTable(zarn::kBLNitsMapping100Percent, calibration_.standard_100);
  AskMeasuredTable(zarn::kBLHdrNitsMapping10Percent, calibration_.hbm_10);
  AskMeasuredTable(zarn::kBLHdrNitsMapping100Percent, calibration_.hbm_100);
  if (!range) {
    return;
  }
  Require(
      range->minimum_bl == range_.minimum_bl && range->max_bl == range_.max_bl && range->max_os_bl == range_.max_os_bl,
      "the range is that of the file");
  panel_.CheckLinearTable(calibration_.linear);
  if (!dimming_) {
    panel_.CheckMeasuredTables(range_);
  }
}

void Session::AskMeasuredTable(BLNitsParams param, const Points& points) {
  const auto table = panel_.MeasuredTable(param);
  Require(table.has_value() == Calibrated(), "getters return calibration data if and only if the last Init succeeded");
  Require(!table || Same(*table, points), "a measured table is that of the file");
}

void Session::SetNeutralLuts() {
  if (!Calibrated()) {
    return;
  }
  panel_.CheckNeutralLuts(range_);
  has_luts_ = true;
  longest_luts_ = std::max(longest_luts_, range_.max_os_bl);
  dimming_ = false;
  scale_ = 1.0;
}

void Session::GetWrongly() {
  const auto param = static_cast<BLNitsParams>(static_cast<int32_t>(bytes_.Below(16)) - 3);
  GenericPayload empty;
  Holding<Stranger> stranger;
  HollowPayload hollow(8 * (1 + bytes_.Below(4)));
  GenericPayload* const payloads[] = {nullptr, &empty, &stranger.payload, &hollow.payload};
  GenericPayload* const payload = payloads[bytes_.Below(std::size(payloads))];

  const bool known = param >= zarn::kBLGamma && param <= zarn::kBLDimmingScale;
  const bool unsupported = initialized_ && payload != nullptr && !known;
  Require(panel_.Engine().GetParameter(param, payload) == (unsupported ? -EOPNOTSUPP : -EINVAL),
          "a getter without handler is answered with -95, one without its record with -22");
}

void Session::SetWrongly() {
  const auto param = static_cast<BLNitsParams>(static_cast<int32_t>(bytes_.Below(16)) - 3);
  GenericPayload empty;
  const Holding<Stranger> stranger;
  const uint32_t size = 8 * (1 + bytes_.Below(4));
  const HollowPayload hollow(size);
  const GenericPayload* const payloads[] = {&empty, &stranger.payload, &hollow.payload};
  const GenericPayload* const payload = payloads[bytes_.Below(std::size(payloads))];

  int expected = initialized_ ? -EOPNOTSUPP : -EINVAL;
  for (const auto& [known, record_size] :
       {std::pair<BLNitsParams, size_t>{zarn::kBLDimmingStatus, sizeof(zarn::BLDimmingStatus)},
        {zarn::kBLDimmingScale, sizeof(zarn::BLDimmingScale)},
        {zarn::kBLDimmingLuts, sizeof(zarn::DimmingLuts)}}) {
    if (initialized_ && param == known) {
      expected = payload == &hollow.payload && size == record_size ? -ENOMEM : -EINVAL;
    }
  }
  Require(panel_.Engine().SetParameter(param, *payload) == expected,
          "a setter without handler is answered with -95, one without its record with -22 or -12");
}

void Session::ConvertWrongly() {
  const auto op = static_cast<BLNitOps>(static_cast<int32_t>(bytes_.Below(6)) - 2);
  const Holding<Stranger> in;
  const Holding<zarn::BlBackLight> level({0, 10, 0, false});
  Holding<Stranger> stranger;
  Holding<zarn::BlNitsValue> answer;
  GenericPayload* const outs[] = {nullptr, &stranger.payload, &answer.payload};
  GenericPayload* const out = outs[bytes_.Below(std::size(outs))];
  // Passes a valid input only with an invalid output, so that the call must fail.
  const bool right_in = op == zarn::kBLToNits && out != &answer.payload && bytes_.Flag();

  const bool known = op == zarn::kBLToNits || op == zarn::kNitsToBL;
  const bool unsupported = initialized_ && out != nullptr && !known;
  const auto before = fuzz::ImageOf(*answer.record);
  Require(panel_.Engine().ProcessOps(op, right_in ? level.payload : in.payload, out) ==
              (unsupported ? -EOPNOTSUPP : -EINVAL),
          "an operation without handler is answered with -95, one without its records with -22");
  Require(fuzz::ImageOf(*answer.record) == before, "a refused call leaves the output record as it was");
}

Calibration Session::AnyCalibration() {
  Calibration calibration(range_.max_bl, range_.max_os_bl);
  calibration.linear = AnyLinearTable();
  calibration.standard_10 = AnyPoints();
  calibration.standard_100 = AnyPoints();
  calibration.hbm_10 = AnyPoints();
  calibration.hbm_100 = AnyPoints();
  return calibration;
}

// Mostly rising levels: the engine refuses others before it computes anything.
Levels Session::AnyLinearTable() {
  Levels levels(bytes_.Below(6));
  const bool rising = bytes_.Below(8) != 0;
  uint32_t next = 0;
  for (auto& [linearized, panel] : levels) {
    linearized = rising ? next : bytes_.Level();
    panel = bytes_.Level();
    next = std::min(next, uint32_t{1} << 30U) + 1 + bytes_.Level();
  }
  return levels;
}

Points Session::AnyPoints() {
  Points points(bytes_.Below(6));
  const bool sorted = bytes_.Below(4) != 0;
  for (auto& [bl, nits] : points) {
    bl = bytes_.Level();
    nits = bytes_.Real();
  }
  if (sorted) {
    std::stable_sort(points.begin(), points.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  }
  return points;
}

uint32_t Session::AnyCoverage() {
  static constexpr uint32_t kRare[] = {0, 1, 10, 11, 99, 100, 101, UINT32_MAX};
  const uint32_t byte = bytes_.Byte();
  return byte < 128 ? byte : kRare[byte % 8];
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static fuzz::CheckedPanel panel;
  Session(&panel, fuzz::Bytes(data, size)).Run();
  return 0;
}
