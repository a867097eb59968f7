#include "invariants.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include "calibration_format.h"
#include "debug_handler.h"

// Expands the variable arguments in each function: a va_list can be passed on, "..." cannot.
#define BLNITS_FORMAT()                                 \
  char line[256];                                       \
  va_list arguments;                                    \
  va_start(arguments, format);                          \
  std::vsnprintf(line, sizeof line, format, arguments); \
  va_end(arguments)

namespace fuzz {
namespace {

namespace fs = std::filesystem;
using zarn::BlBackLight;
using zarn::BLNitsParams;
using zarn::BlNitsValue;
using zarn::client::Mode;
using zarn::client::View;

constexpr const char* kPanelName = "fuzz";

class DroppedLog : public display::DebugHandler {
 public:
  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_FORMAT(); }
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_FORMAT(); }
  void Info(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_FORMAT(); }
  void Debug(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_FORMAT(); }
  void Verbose(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_FORMAT(); }
};

/// In memory if possible, because a fuzzer writes a file for each input.
fs::path MakeFolder() {
  for (const fs::path& where : {fs::path("/dev/shm"), fs::temp_directory_path()}) {
    std::string pattern = where / "blnits_fuzz.XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) {
      return pattern;
    }
  }
  Require(false, "a temporary folder can be made");
  return {};
}

/// Makes a call in the panel's folder and returns to the old working folder, so that relative paths of the fuzzer stay
/// valid.
template <class Call>
auto InFolder(const fs::path& folder, Call call) {
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  auto result = call();
  fs::current_path(before);
  return result;
}

/// The same question at another coverage that must have the same answer.
template <class In>
In AtTwinCoverage(In in) {
  if (in.percentage >= 1 && in.percentage <= 10) {
    in.percentage = in.percentage == 10 ? 1 : 10;
  }
  return in;
}

bool SameAnswer(const std::optional<BlNitsValue>& a, const std::optional<BlNitsValue>& b) {
  if (!a || !b) {
    return !a && !b;
  }
  return a->bl == b->bl && Same(a->nits, b->nits) && a->hdr == b->hdr;
}

Points ToPoints(const zarn::BackLightToNitsTable& table) {
  Points points;
  for (const zarn::BlNitsPoint& point : table.points) {
    points.emplace_back(point.bl, point.nits);
  }
  return points;
}

bool CanBeFilledIn(const Levels& sparse) {
  for (size_t i = 1; i < sparse.size(); ++i) {
    if (sparse[i - 1].first >= sparse[i].first) {
      return false;
    }
  }
  return sparse.size() >= 2 && sparse.front().first == 0 && sparse.back().first <= zarn::format::kLastLinearizedLevel;
}

/// Checks that `dense` has one pair for each level, keeps the pairs of `sparse` and stays between them. \param dense
/// starts at level 0.
void CheckFilledIn(const Levels& sparse, const std::pair<uint32_t, uint32_t>* dense) {
  for (size_t i = 1; i < sparse.size(); ++i) {
    const auto& from = sparse[i - 1];
    const auto& to = sparse[i];
    Require(dense[from.first] == from && dense[to.first] == to, "the dense linear table keeps the pairs of the file");
    const auto [low, high] = std::minmax(from.second, to.second);
    for (uint32_t level = from.first; level < to.first; ++level) {
      Require(dense[level].first == level, "the dense linear table has one pair for each level");
      Require(dense[level].second >= low && dense[level].second <= high,
              "the dense linear table stays between two pairs of the file");
    }
  }
}

/// Converts a level from the scale 0 to `from` to the scale 0 to `to`, rounded down.
uint32_t Rescaled(uint32_t level, uint32_t from, uint32_t to) {
  return from == 0 ? 0 : static_cast<uint32_t>(uint64_t{level} * to / from);
}

/// Whether `value` is between `a` and `b`, allowing for rounding; true if one of them is not finite.
bool Between(double value, double a, double b, double rounding) {
  if (!std::isfinite(a) || !std::isfinite(b)) {
    return true;
  }
  return value >= std::min(a, b) - rounding && value <= std::max(a, b) + rounding;
}

bool Taken(const zarn::client::Result<void>& result) {
  Require(result || result.error().code == -EINVAL, "a setter answers 0 or -22");
  return result.has_value();
}

Mode ModeOf(bool hdr) { return hdr ? Mode::kHighBrightness : Mode::kStandard; }

}  // namespace

void Require(bool holds, const char* invariant) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", invariant);
    std::abort();
  }
}

bool Same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

bool Same(const Points& a, const Points& b) {
  const auto same = [](const auto& x, const auto& y) { return x.first == y.first && Same(x.second, y.second); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

CheckedPanel::CheckedPanel()
    : folder_(MakeFolder()),
      client_(*zarn::client::Panel::Attach(GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(kPanelName))) {
  // Never destroyed: lines can arrive until the process ends.
  static auto* const dropped = new DroppedLog;
  display::debug_handler_ = dropped;
}

CheckedPanel::~CheckedPanel() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void CheckedPanel::WriteFile(std::string_view text) const {
  std::ofstream file(folder_ / FileName(kPanelName), std::ios::binary);
  file << text << std::flush;
  Require(file.good(), "the calibration file can be written");
}

void CheckedPanel::RemoveFile() const { fs::remove(folder_ / FileName(kPanelName)); }

int CheckedPanel::Init() {
  const auto done = InFolder(folder_, [&] { return client_.Init(); });
  const int ret = done ? 0 : done.error().code;
  Require(ret == 0 || ret == -ENOENT || ret == -EINVAL, "Init answers 0, -2 or -22");
  return ret;
}

void CheckedPanel::Deinit() {
  Require(Engine().Deinit() == 0, "Deinit answers 0");
  Require(!Get<zarn::BLRange>(zarn::kBLRange), "getters are refused after Deinit");
  Require(!Get<zarn::BLDimmingStatus>(zarn::kBLDimmingStatus), "getters are refused after Deinit");
  Require(!SetScale(1.0), "setters are refused after Deinit");
  Require(!Nits({sizeof(BlBackLight), 10, 0, false}), "conversions are refused after Deinit");
  Require(!Level({sizeof(BlNitsValue), 10, 0, 0.0, false}), "conversions are refused after Deinit");
}

bool CheckedPanel::SetDimming(bool enabled) { return Taken(client_.SetDimming(enabled)); }

bool CheckedPanel::SetScale(double scale) { return Taken(client_.SetDimmingScale(scale)); }

bool CheckedPanel::SetLuts(View<uint32_t> bl, View<double> pcc) { return Taken(client_.SetDimmingLuts(bl, pcc)); }

std::optional<Points> CheckedPanel::MeasuredTable(BLNitsParams param) {
  Holding<zarn::BackLightToNitsTable> out;
  const auto ask = [&] { return Engine().GetParameter(param, &out.payload); };
  if (!Answered(*out.record, ask)) {
    return std::nullopt;
  }
  const bool one_tenth = param == zarn::kBLNitsMapping10Percent || param == zarn::kBLHdrNitsMapping10Percent;
  Require(out->percentage == (one_tenth ? 10 : 100), "a measured table has its coverage");
  const Points points = ToPoints(*out.record);
  Require(Answered(*out.record, ask), "a repeated call gives the same answer");
  Points twice = points;
  twice.insert(twice.end(), points.begin(), points.end());
  Require(Same(ToPoints(*out.record), twice), "a getter appends its table to the record");
  return points;
}

Levels CheckedPanel::SparseLinearTable() const {
  auto parser = zarn::client::Panel::Attach(
      InFolder(folder_, [] { return GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser(kPanelName); }));
  const auto made = InFolder(folder_, [&] { return parser->Init(); });
  Require(made.has_value(), "a parser accepts a file that the engine accepts");
  auto table = parser->LinearTable();
  Require(table.has_value(), "a parser gives its linear table");
  return *std::move(table);
}

// Checks the invariants of every conversion.
template <class In>
std::optional<BlNitsValue> CheckedPanel::Convert(zarn::BLNitOps op, const In& in) {
  const Holding<In> question(in);
  const auto asked = ImageOf(*question.record);
  constexpr uint32_t kSize = 12345;
  Holding<BlNitsValue> out({kSize, 67, 89, -4.5, !in.hdr});
  const bool answered = Answered(*out.record, [&] { return Engine().ProcessOps(op, question.payload, &out.payload); });
  Require(ImageOf(*question.record) == asked, "a conversion leaves its input as it was");
  if (!answered) {
    return std::nullopt;
  }
  Require(in.percentage >= 1 && in.percentage <= 100, "only coverages from 1 to 100 are answered");
  Require(out->size == kSize, "a conversion leaves the size of the output record as it was");
  Require(out->percentage == in.percentage, "an answer has the coverage of the question");
  return *out.record;
}

template <class In>
std::optional<BlNitsValue> CheckedPanel::ConvertRepeatedly(zarn::BLNitOps op, const In& in) {
  const auto answer = Convert(op, in);
  Require(SameAnswer(answer, Convert(op, in)), "a repeated conversion gives the same answer");
  Require(SameAnswer(answer, Convert(op, AtTwinCoverage(in))), "coverages from 1 to 10 give the same answer");
  return answer;
}

std::optional<BlNitsValue> CheckedPanel::Nits(const BlBackLight& in) {
  const auto answer = ConvertRepeatedly(zarn::kBLToNits, in);
  Require(!answer || answer->bl == in.bl, "an answer in nits has the level of the question");
  const auto typed = client_.Nits(in.bl, in.percentage, ModeOf(in.hdr));
  Require(typed.has_value() == answer.has_value() && (!typed || Same(*typed, answer->nits)),
          "the typed client gives the same luminance");
  return answer;
}

std::optional<BlNitsValue> CheckedPanel::Level(const BlNitsValue& in) {
  const auto answer = ConvertRepeatedly(zarn::kNitsToBL, in);
  Require(!answer || Same(answer->nits, in.nits), "an answer with a level has the luminance of the question");
  Holding<BlNitsValue> both(in);
  const bool answered =
      Answered(*both.record, [&] { return Engine().ProcessOps(zarn::kNitsToBL, both.payload, &both.payload); });
  Require(answered == answer.has_value() && (!answered || both->bl == answer->bl),
          "one payload for input and output gives the same answer");
  const auto typed = client_.Level(in.nits, in.percentage, ModeOf(in.hdr));
  Require(typed.has_value() == answered && (!typed || *typed == answer->bl), "the typed client gives the same level");
  return answer;
}

void CheckedPanel::CheckLinearTable(const Levels& sparse) {
  const std::pair<uint32_t, uint32_t> before{6, 7};
  Holding<zarn::BLLinearTable> out;
  out->entries = {before};
  const bool answered =
      Answered(*out.record, [&] { return Engine().GetParameter(zarn::kBLLinearTable, &out.payload); });
  Require(
      answered == CanBeFilledIn(sparse),
      "the engine returns a dense table if and only if the file's table rises, starts at 0 and ends within the limit");
  const Levels& entries = out->entries;
  Require(entries.front() == before, "a getter appends its table to the record");
  if (!answered) {
    Require(entries.size() == 1, "a refused call leaves the output record as it was");
    return;
  }
  Require(entries.size() == size_t{sparse.back().first} + 2, "the dense linear table ends at the file's last level");
  CheckFilledIn(sparse, &entries[1]);
}

void CheckedPanel::CheckMeasuredTables(const zarn::BLRange& range) {
  for (const auto& [group, element, percentage, hdr, param] : zarn::format::kMeasuredTables) {
    const auto points = MeasuredTable(param);
    Require(points.has_value(), "an engine with calibration data gives its measured tables");
    if (points->empty()) {
      Require(!Nits({sizeof(BlBackLight), percentage, 0, hdr}), "nothing is converted without measurements");
      continue;
    }
    const auto& [bl, nits] = points->front();
    const auto luminance = Nits({sizeof(BlBackLight), percentage, bl, hdr});
    Require(luminance.has_value() == (bl <= range.max_os_bl), "a measured level within the range is answered");
    Require(!luminance || Same(luminance->nits, nits), "the first measured level has its measured luminance");
    const auto level = Level({sizeof(BlNitsValue), percentage, 0, nits, hdr});
    Require(std::isnan(nits) || (level && level->bl == bl), "the first measured luminance has its measured level");
    CheckBetweenCoverages(points->back().first / 2, points->back().second / 2, hdr);
  }
}

void CheckedPanel::CheckBetweenCoverages(uint32_t bl, double nits, bool hdr) {
  for (const uint32_t percentage : {11U, 99U}) {
    const auto luminance = [&](uint32_t at) { return Nits({sizeof(BlBackLight), at, bl, hdr}); };
    const auto at_10 = luminance(10);
    const auto at_100 = luminance(100);
    const auto between = luminance(percentage);
    Require(between.has_value() == (at_10 && at_100), "a luminance between the coverages needs both");
    Require(!between || Between(between->nits, at_10->nits, at_100->nits,
                                1e-12 * std::max(std::fabs(at_10->nits), std::fabs(at_100->nits))),
            "a luminance between the coverages is between theirs");
    const auto level = [&](uint32_t at) { return Level({sizeof(BlNitsValue), at, 0, nits, hdr}); };
    const auto level_10 = level(10);
    const auto level_100 = level(100);
    const auto level_between = level(percentage);
    Require(level_between.has_value() == (level_10 && level_100), "a level between the coverages needs both");
    Require(!level_between || Between(level_between->bl, level_10->bl, level_100->bl, 1.0),
            "a level between the coverages is between theirs");
  }
}

bool CheckedPanel::CheckNeutralLuts(const zarn::BLRange& range) {
  std::vector<uint32_t> same(size_t{range.max_bl} + 1);
  for (uint32_t level = 0; level <= range.max_bl; ++level) {
    same[level] = level;
  }
  SwitchDimming(false);
  if (!SetLuts(same, std::vector<double>(size_t{range.max_os_bl} + 1, 1.0))) {
    return false;
  }
  for (const uint32_t bl : {uint32_t{0}, range.max_os_bl / 3, range.max_os_bl}) {
    const uint32_t shown = Rescaled(Rescaled(bl, range.max_os_bl, range.max_bl), range.max_bl, range.max_os_bl);
    for (const uint32_t percentage : {10U, 55U, 100U}) {
      for (const bool hdr : {false, true}) {
        const auto measured = Nits({sizeof(BlBackLight), percentage, shown, hdr});
        SwitchDimming(true);
        const auto dimmed = Nits({sizeof(BlBackLight), percentage, bl, hdr});
        Require(measured && dimmed && Same(dimmed->nits, measured->nits), "LUTs that change nothing keep luminances");
        Require(dimmed->hdr == hdr, "with dimming on, an answer has the hdr flag of the question");
        const auto level = Level({sizeof(BlNitsValue), percentage, 0, dimmed->nits, hdr});
        Require(level && level->bl <= range.max_os_bl, "with dimming on, every luminance has a client level");
        SwitchDimming(false);
      }
    }
  }
  CheckCurve(55, false);
  return true;
}

void CheckedPanel::CheckCurve(uint32_t percentage, bool hdr) {
  const auto curve = client_.Sample(percentage, ModeOf(hdr));
  if (!curve) {
    const auto level = curve.error().level;
    Require(level && !client_.Nits(*level, percentage, ModeOf(hdr)), "a curve is refused where a level is refused");
    return;
  }
  for (uint32_t level = 0; level < curve->Size(); ++level) {
    const double nits = curve->Nits(level);
    const auto asked = client_.Nits(level, percentage, ModeOf(hdr));
    Require(asked && Same(*asked, nits), "a curve has the luminances of the engine");
    // NaN and -infinity are no luminances that a level can be nearest to.
    Require(!(nits >= std::numeric_limits<double>::lowest()) || Same(curve->Nits(curve->Level(nits)), nits),
            "a luminance of a curve has a level with that luminance");
  }
}

void CheckedPanel::SwitchDimming(bool enabled) {
  Require(SetDimming(enabled), "dimming can be switched at any time");
  const auto status = Get<zarn::BLDimmingStatus>(zarn::kBLDimmingStatus);
  Require(status && status->enabled == enabled, "the dimming status is what was set");
}

}  // namespace fuzz
