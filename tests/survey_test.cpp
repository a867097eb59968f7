// Compares the tool's panel with the interface, and its survey of some levels with all levels.
#include "panel/survey.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "client.h"

namespace {

using namespace blnits;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What a small table may have.
const std::vector<uint32_t> kLevels = {0, 1, 2, 3, 5, 8, 9, 10, 15, 20, 30, 4294967295U};
const std::vector<double> kLuminances = {0.0,  -0.0,  1.0,    2.0,       2.0000000000000004, 3.5,
                                         -5.0, 1e308, 5e-324, kInfinity, -kInfinity,         kNan};

/// A panel whose tables have up to `most` points. The choice is small: levels and luminances are often equal, falling or
/// next to each other.
Calibration AnyPanel(std::mt19937* random, uint32_t last, size_t most, const std::vector<uint32_t>& levels,
                     const std::vector<double>& nits) {
  Calibration calibration(1023, last);
  for (Points* const table :
       {&calibration.standard_10, &calibration.standard_100, &calibration.hbm_10, &calibration.hbm_100}) {
    table->resize((*random)() % (most + 1));
    for (auto& [level, luminance] : *table) {
      level = levels[(*random)() % levels.size()];
      luminance = nits[(*random)() % nits.size()];
    }
  }
  return calibration;
}

Panel Opened(const std::string& name, const Calibration& calibration, CapturedLog* log) {
  WriteFile(name, calibration.Text());
  return {name, log};
}

/// An answer in every bit (all NaNs are equal), or no answer, and the log lines.
template <class Answer>
std::string Told(const Answer& answer, CapturedLog* log) {
  char number[40] = "refused";
  if (answer) {
    const auto value = static_cast<double>(*answer);
    std::snprintf(number, sizeof number, "%a", std::isnan(value) ? kNan : value);
  }
  std::string told = number;
  for (const LogLine& line : log->Take()) {
    told += std::string(" | ") + line.level + " " + line.text;
  }
  return told;
}

class Survey : public testing::Test {
 protected:
  TemporaryFolder folder_;
  CapturedLog log_;
};

TEST_F(Survey, PanelConvertsAsTheInterfaceDoes) {
  const std::vector<double> wanted = {0.0,  -0.0, 0.4, 1.0,   1.5,    2.0,       2.0000000000000004, 3.0, 3.5,
                                      -3.0, -5.0, 7.0, 1e308, 5e-324, kInfinity, -kInfinity,         kNan};
  std::mt19937 random(20261123);  // NOLINT(cert-msc51-cpp): the same in every run
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const auto calibration = AnyPanel(&random, 20, 10, kLevels, kLuminances);
    Panel panel = Opened("x.xml", calibration, &log_);
    const auto engine = zarn::client::Panel::Open("./x.xml").value();
    for (const bool hdr : {false, true}) {
      const auto mode = hdr ? zarn::client::Mode::kHighBrightness : zarn::client::Mode::kStandard;
      for (const uint32_t coverage : {0U, 1U, 10U, 11U, 55U, 99U, 100U, 101U}) {
        for (uint32_t level = 0; level <= 21; ++level) {
          log_.Take();
          const auto expected = Told(engine.Nits(level, coverage, mode), &log_);
          ASSERT_EQ(Told(panel.TryToNits(level, coverage, hdr), &log_), expected) << level << " at " << coverage;
        }
        for (const double luminance : wanted) {
          log_.Take();
          const auto expected = Told(engine.Level(luminance, coverage, mode), &log_);
          ASSERT_EQ(Told(panel.TryToLevel(luminance, coverage, hdr), &log_), expected) << luminance << " " << coverage;
        }
      }
    }
  }
}

TEST_F(Survey, CurveBetweenTwoCoveragesHasTheBitsOfThePanel) {
  std::mt19937 random(55);  // NOLINT(cert-msc51-cpp): the same in every run
  for (int round = 0; round < 200; ++round) {
    Panel panel = Opened("x.xml", AnyPanel(&random, 20, 10, kLevels, kLuminances), &log_);
    const auto levels = SurveyLevels(&panel);
    for (const uint32_t coverage : {11U, 55U, 99U}) {
      const auto curves = SurveyCurves(&panel, {10, coverage, 100}, levels);
      for (const size_t tenth : {size_t{0}, size_t{3}}) {
        const Curve between = CurveBetween(curves[tenth], curves[tenth + 2], coverage);
        EXPECT_EQ(between.hdr, curves[tenth + 1].hdr);
        log_.Take();
        for (size_t i = 0; i < levels.size(); ++i) {
          ASSERT_EQ(Told(std::optional(between.nits[i]), &log_), Told(std::optional(curves[tenth + 1].nits[i]), &log_))
              << levels[i] << " at " << coverage << " in round " << round;
        }
      }
    }
  }
}

/// What the tool reports of a curve and of its difference from another, at the given levels.
struct Extremes {
  double difference = 0.0;  // in nits
  double share = 0.0;       // of the first
  double step = 0.0;        // as a share, from kFirstJumpLevel on
  uint64_t plateau = 0;     // in levels
  uint64_t refused = 0;     // by one of the two
  uint64_t extrapolated = 0;
};

Extremes Look(Panel* a, Panel* b, uint32_t coverage, size_t mode, const std::vector<uint32_t>& levels) {
  const auto curve = SurveyCurves(a, {coverage}, levels)[mode];
  const auto other = SurveyCurves(b, {coverage}, levels)[mode];
  const auto finite = [](const Curve& each, size_t i) { return std::isfinite(each.nits[i]); };
  Extremes found;
  for (size_t i = 0; i < levels.size(); ++i) {
    if (finite(curve, i) && finite(other, i)) {
      found.difference = std::max(found.difference, std::abs(other.nits[i] - curve.nits[i]));
      found.share =
          curve.nits[i] != 0.0 ? std::max(found.share, std::abs(other.nits[i] / curve.nits[i] - 1.0)) : found.share;
    }
    if (i > 0 && levels[i] == levels[i - 1] + 1 && levels[i] > kFirstJumpLevel && curve.nits[i - 1] > 0.0) {
      found.step = std::fmax(found.step, std::abs(curve.nits[i] - curve.nits[i - 1]) / curve.nits[i - 1]);
    }
  }
  const auto same = [&](size_t i) { return IsSame(curve.nits[i], curve.nits[i + 1]); };
  ForEachRun(levels.size() - 1, same, [&](size_t first, size_t last) {
    found.plateau = std::max(found.plateau, uint64_t{levels[last + 1]} - levels[first] + 1);
  });
  const auto flags = Extrapolated(a, curve, levels);
  found.extrapolated = CountLevels(levels, [&](size_t i) { return flags[i]; });
  found.refused = CountLevels(levels, [&](size_t i) { return finite(curve, i) != finite(other, i); });
  return found;
}

/// Infinities are equal.
bool AreNear(double a, double b) { return a == b || std::abs(a - b) <= 1e-9 * std::abs(b); }

/// Above 65,536 levels the survey leaves some out. Its levels must give the same extremes as all levels.
TEST_F(Survey, LevelsLookedAtTellWhatAllWould) {
  std::mt19937 random(65536);  // NOLINT(cert-msc51-cpp): the same in every run
  const std::vector<double> nits = {0.0, 1.0, 100.0, 100.0, 100.3, 250.0, 250.0, 731.0, -40.0, 1.7e308, kNan};
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    const std::vector<uint32_t> at = {20, 65000, 65534, 66000, 66001, 67003, 68000, 69999, 70500};
    // One round of three also has luminances that only a faulty file has.
    const std::vector<double> some(nits.begin(), round % 3 == 0 ? nits.end() : nits.begin() + 8);
    Panel a = Opened("a.xml", AnyPanel(&random, 70000, 9, at, some), &log_);
    Panel b = Opened("b.xml", AnyPanel(&random, round % 2 == 0 ? 70000 : 68500, 9, at, some), &log_);
    const auto levels = SurveyLevels({&a, &b}, {10, 55, 100});
    ASSERT_EQ(levels.back(), 70000U);
    EXPECT_LT(levels.size(), 65536U + 200U);
    EXPECT_FALSE(AreAll(levels));
    std::vector<uint32_t> all(70001);
    std::iota(all.begin(), all.end(), 0);
    for (const uint32_t coverage : {10U, 55U, 100U}) {
      for (const size_t mode : {size_t{0}, size_t{1}}) {
        SCOPED_TRACE(std::to_string(coverage) + (mode == 1 ? " hdr" : ""));
        const Extremes found = Look(&a, &b, coverage, mode, levels);
        const Extremes expected = Look(&a, &b, coverage, mode, all);
        EXPECT_PRED2(AreNear, found.difference, expected.difference);
        EXPECT_PRED2(AreNear, found.share, expected.share);
        EXPECT_PRED2(AreNear, found.step, expected.step);
        EXPECT_EQ(found.plateau, expected.plateau);
        EXPECT_EQ(found.refused, expected.refused);
        EXPECT_EQ(found.extrapolated, expected.extrapolated);
      }
    }
  }
}

TEST_F(Survey, LooksAtEveryLevelUpTo65535) {
  const std::vector<std::pair<uint32_t, size_t>> cases = {{0, 1}, {255, 256}, {65535, 65536}, {65536, 65537}};
  for (const auto& [last, count] : cases) {
    Panel panel = Opened("x.xml", Calibration(1023, last), &log_);
    EXPECT_EQ(SurveyLevels(&panel).size(), count);
    EXPECT_EQ(LeftOut(SurveyLevels(&panel)), "");
  }
  Panel panel = Opened("x.xml", Calibration(1023, 4294967295U), &log_);
  EXPECT_EQ(SurveyLevels(&panel).back(), 4294967295U);
  EXPECT_EQ(LeftOut(SurveyLevels(&panel)).substr(0, 42), "not examined: 4294901758 levels above 6553");
}

}  // namespace
