// Sampled curves: they have the engine's luminances and find the nearest level on any curve.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>
#include <numeric>
#include <random>

#include "backlight_nits_curve.h"
#include "client.h"

namespace {

using namespace zarn;
using client::Curve;
using client::Mode;
using client::Panel;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

bool SameBits(double a, double b) {
  uint64_t bits[2];
  std::memcpy(&bits[0], &a, sizeof a);
  std::memcpy(&bits[1], &b, sizeof b);
  return bits[0] == bits[1];
}

class SampledCurve : public Client {
 protected:
  /// A panel whose dimming maps are `nits`: every level is dimmed to one with 1.0 nits, and the attenuation is `nits`.
  Panel WithMaps(const std::vector<double>& nits) {
    Calibration calibration(1, static_cast<uint32_t>(nits.size() - 1));
    for (Points* const table :
         {&calibration.standard_100, &calibration.standard_10, &calibration.hbm_100, &calibration.hbm_10}) {
      *table = {{0, 1.0}};
    }
    Client::Open(calibration);
    display::debug_handler_ = nullptr;
    Panel panel = Panel::Attach(engine_).value();
    EXPECT_TRUE(panel.SetDimmingLuts(std::vector<uint32_t>{0, 0}, nits));
    EXPECT_TRUE(panel.SetDimming(true));
    return panel;
  }

  /// Numbers equal to, next to and between `entries`, and the smallest and greatest numbers.
  std::vector<double> Questions(const std::vector<double>& entries) {
    std::vector<double> questions = {kNan, -kNan, kInfinity, -kInfinity, 0.0, -0.0, 1e300, -1e300, 5e-324, -5e-324};
    for (size_t i = 0; i < entries.size(); ++i) {
      const double entry = entries[i];
      for (const double question : {entry, std::nextafter(entry, kInfinity), std::nextafter(entry, -kInfinity),
                                    (entry + entries[i / 2]) / 2, (entry + entries[i > 0 ? i - 1 : 0]) / 2}) {
        questions.push_back(question);
      }
      questions.push_back(std::uniform_real_distribution<double>(-1.0, 12.0)(random_));
    }
    return questions;
  }

  /// `size` luminances. Kind 0: a few repeated ones; 1: many; 2: all magnitudes.
  std::vector<double> Luminances(size_t size, int kind) {
    std::vector<double> nits(size);
    for (double& each : nits) {
      const double share = std::uniform_real_distribution<double>(0.0, 1.0)(random_);
      each = kind == 0 ? std::floor(share * 10.0) : kind == 1 ? 10.0 * share : std::exp2(share * 2000.0 - 1000.0);
    }
    return nits;
  }

  std::mt19937_64 random_{1};  // NOLINT(cert-msc51-cpp): the same in every run
};

TEST_F(SampledCurve, HasTheEnginesBits) {
  Client::Open(Calibration(300, 255));
  Panel panel = Panel::Attach(engine_).value();
  const std::vector<double> attenuation(256, 0.9);
  std::vector<uint32_t> lut(301);
  std::iota(lut.begin(), lut.end(), 0);
  ASSERT_TRUE(panel.SetDimmingLuts(lut, attenuation));
  for (const bool dimming : {false, true}) {
    ASSERT_TRUE(panel.SetDimming(dimming));
    for (const Mode mode : {Mode::kStandard, Mode::kHighBrightness}) {
      for (uint32_t coverage = 1; coverage <= 100; ++coverage) {
        const Curve curve = panel.Sample(coverage, mode).value();
        ASSERT_EQ(curve.Size(), 256U);
        for (uint32_t level = 0; level < curve.Size(); ++level) {
          ASSERT_TRUE(SameBits(curve.Nits(level), panel.Nits(level, coverage, mode).value()))
              << coverage << " % " << level;
        }
      }
    }
  }
}

TEST_F(SampledCurve, StaysWhatItWas) {
  Client::Open(Calibration());
  Panel panel = Panel::Attach(engine_).value();
  const Curve sampled = panel.Sample(10).value();
  Curve curve = sampled;
  const Curve moved = std::move(curve);  // NOLINT(performance-move-const-arg)
  ASSERT_TRUE(panel.SetDimming(true));
  EXPECT_EQ(panel.Nits(100, 10), 0.0);
  EXPECT_EQ(panel.Sample(10)->Nits(100), 0.0) << "a new one has what holds now";
  panel.Deinit();
  for (const Curve& each : {sampled, curve, moved}) {  // NOLINT(bugprone-use-after-move): it copies
    EXPECT_EQ(each.Nits(100), 50.0);
    EXPECT_EQ(each.Level(50.0), 100U);
  }
  curve = Curve({1.0, 2.0});
  EXPECT_EQ(curve.Nits(1), 2.0);
  EXPECT_EQ(curve.Size(), 2U);
  EXPECT_EQ(moved.Nits(1), 0.5);
}

/// The nearest level as defined: compares every level.
uint32_t NearestByDefinition(const std::vector<double>& nits, double question) {
  if (std::isnan(question)) {
    return NearestByDefinition(nits, kInfinity);
  }
  std::optional<uint32_t> below;
  std::optional<uint32_t> above;
  for (uint32_t level = 0; level < nits.size(); ++level) {
    if (nits[level] <= question && (!below || nits[level] >= nits[*below])) {
      below = level;
    }
    if (nits[level] > question && (!above || nits[level] < nits[*above])) {
      above = level;
    }
  }
  if (!below || !above) {
    return below ? *below : above.value_or(0);
  }
  const double to_below = std::fabs(nits[*below] - question);
  const double to_above = std::fabs(nits[*above] - question);
  return to_below == to_above ? std::min(*below, *above) : to_below < to_above ? *below : *above;
}

// On a curve that never falls, the engine must find the same level in a dimming map.
TEST_F(SampledCurve, FindsTheNearestLevelOnAnyCurve) {
  const double extremes[] = {kInfinity, -kInfinity, 1.7e308, -1.7e308, -0.0, 5e-324, kNan};
  for (int turn = 0; turn < 400; ++turn) {
    const bool ascending = turn % 4 == 0;
    std::vector<double> nits = Luminances(turn % 100 == 0 ? 500 : random_() % 40, turn % 3);
    if (turn % 4 == 1) {
      std::sort(nits.begin(), nits.end(), std::greater<>());
    }
    for (int count = turn % 5; count > 0 && !nits.empty(); --count) {
      nits[random_() % nits.size()] = extremes[random_() % (ascending ? 6 : 7)];
    }
    std::optional<Panel> engine;
    if (ascending && !nits.empty()) {
      std::sort(nits.begin(), nits.end());
      engine = WithMaps(nits);
    }
    const Curve curve(nits);
    EXPECT_TRUE(std::isnan(curve.Nits(curve.Size())) && std::isnan(curve.Nits(UINT32_MAX)));
    for (const double question : Questions(nits)) {
      ASSERT_EQ(curve.Level(question), NearestByDefinition(nits, question)) << question << " in turn " << turn;
      ASSERT_TRUE(!engine || engine->Level(question, 100) == curve.Level(question)) << question << " in turn " << turn;
    }
  }
}

// Expected levels written by hand, which also test the definition above.
TEST_F(SampledCurve, IsDefinedForEveryNumber) {
  const struct {
    std::vector<double> nits;
    std::vector<std::pair<double, uint32_t>> levels;
  } curves[] = {
      {{0.0, 1.0, 2.0, 4.0}, {{3.0, 2}, {3.1, 3}, {9.0, 3}, {-1.0, 0}, {kNan, 3}, {kInfinity, 3}, {-kInfinity, 0}}},
      {{0.0, 1.0, 1.0, 1.0, 5.0}, {{1.0, 3}, {2.9, 3}, {3.0, 3}, {0.9, 1}, {0.5, 0}}},    // a plateau
      {{4.0, 2.0, 1.0}, {{3.0, 0}, {2.9, 1}, {1.5, 1}, {1.4, 2}, {9.0, 0}, {kNan, 0}}},   // falling: the lower of two
      {{kNan, 2.0, kNan, 1.0}, {{kNan, 1}, {1.5, 1}, {1.4, 3}, {-kInfinity, 3}}},         // NaN entries
      {{0.0, kInfinity, 7.0}, {{kInfinity, 1}, {1e300, 2}, {kNan, 1}, {-kInfinity, 0}}},  // infinite entries
      {{}, {{1.0, 0}}},
  };
  for (const auto& [nits, levels] : curves) {
    for (const auto& [question, level] : levels) {
      EXPECT_EQ(Curve(nits).Level(question), level) << question << " on curve " << (&nits - &curves[0].nits);
    }
  }
}

// The thread sanitizer reports a reader that writes.
TEST_F(SampledCurve, IsReadByManyThreads) {
  const Curve shared({3.0, 1.0, 2.0});
  std::vector<std::future<void>> readers;
  readers.reserve(4);
  for (int i = 0; i < 4; ++i) {
    readers.push_back(std::async(std::launch::async, [&] {
      for (int turn = 0; turn < 200; ++turn) {
        const Curve copy = shared;  // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_TRUE(copy.Level(1.9) == 2 && shared.Level(1.9) == 2 && shared.Nits(0) == 3.0);
      }
    }));
  }
}

}  // namespace
