#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "gauging/study.h"
#include "support/failure.h"

namespace {

using blnits::CrossedDesign;
using blnits::Gauge;

// The example of the handbooks. Its figures are published with two to six digits; the others were computed from it.
class PublishedStudy : public testing::Test {
 protected:
  Gauge GaugeAt(double alpha, double factor = 1.0, double offset = 0.0) const {
    std::vector<double> readings = study_.readings.begin()->second;
    for (double& reading : readings) {
      reading = reading * factor + offset;
    }
    return GaugeOf(AnovaOf(study_.design, readings), study_.design, alpha);
  }

  blnits::GaugeStudy study_ = blnits::ReadGaugeStudy(BLNITS_TESTS "/gauge/reference.csv");
};

TEST_F(PublishedStudy, HasThePublishedAnalysis) {
  const blnits::Anova anova = AnovaOf(study_.design, study_.readings.begin()->second);
  const struct {
    blnits::Variation line;
    double squares;
    double freedom;
  } lines[] = {{anova.part, 88.36193, 9},
               {anova.operators, 3.16726, 2},
               {anova.interaction, 0.35898, 18},
               {anova.repeatability, 2.75893, 60},
               {anova.total, 94.64711, 89}};
  for (const auto& [line, squares, freedom] : lines) {
    EXPECT_NEAR(line.squares, squares, 5e-6);
    EXPECT_EQ(line.freedom, freedom);
  }
}

TEST_F(PublishedStudy, HasThePublishedGauge) {
  const struct {
    const char* what;
    Gauge gauge;
    bool pooled;
    double ev, av, grr, pv, tv;
    double grr_percent;
    double categories;
  } rows[] = {
      {"pooled", GaugeAt(0.05), true, 0.199933, 0.226838, 0.302372, 1.042327, 1.0853, 27.861, 4.8605},
      {"not pooled", GaugeAt(1.0), false, 0.214435, 0.2283, 0.313217, 1.043395, 1.0894, 28.752, 4.697},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(row.gauge.pooled, row.pooled);
    EXPECT_NEAR(row.gauge.f, 0.43372, 5e-6);
    EXPECT_NEAR(row.gauge.p, 0.97411, 5e-6);
    EXPECT_NEAR(row.gauge.equipment, row.ev, 5e-7);
    EXPECT_NEAR(row.gauge.appraiser, row.av, 1e-4);
    EXPECT_NEAR(row.gauge.grr, row.grr, 1e-6);
    EXPECT_NEAR(row.gauge.part, row.pv, 5e-7);
    EXPECT_NEAR(row.gauge.total, row.tv, 1e-4);
    EXPECT_NEAR(row.gauge.PercentOfTotal(row.gauge.grr), row.grr_percent, 5e-4);
    EXPECT_NEAR(row.gauge.Categories(), row.categories, 5e-4);
  }
  EXPECT_NEAR(GaugeAt(0.05).Contribution(GaugeAt(0.05).grr), 7.762, 5e-4);
}

// A meter reads hundreds of nits, which scatter by hundredths.
TEST_F(PublishedStudy, IsTheSameFarFromZero) {
  const Gauge near = GaugeAt(0.05);
  const Gauge far = GaugeAt(0.05, 1e-4, 500.0);
  EXPECT_NEAR(far.PercentOfTotal(far.grr), near.PercentOfTotal(near.grr), 1e-6);
  EXPECT_NEAR(far.p, near.p, 1e-6);
}

// Another published study, of which only the mean squares are known: 3 parts, 2 operators, 3 trials, pooled.
TEST(Gauge, FollowsFromMeanSquares) {
  blnits::Anova anova;
  anova.part = {2 * 0.0030500, 2};
  anova.operators = {0.0002722, 1};
  anova.repeatability = {14 * 0.0000913, 14};
  const Gauge gauge = GaugeOf(anova, {3, 2, 3}, 0.05);
  EXPECT_NEAR(gauge.PercentOfTotal(gauge.grr), 42.92, 1e-2);  // The mean squares have three digits.
  EXPECT_NEAR(gauge.part * gauge.part, 0.0004931, 5e-8);
  EXPECT_NEAR(gauge.Categories(), 2.967, 5e-4);
}

// An operator who reads one part differently: the interaction is significant and counts as reproducibility.
TEST(Gauge, SeparatesASignificantInteraction) {
  std::vector<double> readings;
  for (const double part : {100.0, 110.0, 120.0}) {
    for (const double by : {0.0, part == 110.0 ? 4.0 : 0.0}) {
      for (const double trial : {-0.1, 0.0, 0.1}) {
        readings.push_back(part + by + trial);
      }
    }
  }
  const Gauge gauge = GaugeOf(blnits::AnovaOf({3, 2, 3}, readings), {3, 2, 3}, 0.05);
  EXPECT_FALSE(gauge.pooled);
  EXPECT_LT(gauge.p, 1e-6);
  EXPECT_NEAR(gauge.equipment, 0.1, 1e-9);
  EXPECT_NEAR(gauge.appraiser, std::sqrt((8.0 - 0.01) / 3.0), 1e-9);
}

TEST(Gauge, HasNoPercentWithoutScatter) {
  const Gauge gauge = GaugeOf(blnits::AnovaOf({2, 2, 2}, std::vector<double>(8, 250.0)), {2, 2, 2}, 0.05);
  EXPECT_EQ(gauge.total, 0.0);
  EXPECT_TRUE(std::isnan(gauge.PercentOfTotal(gauge.grr)));
  EXPECT_TRUE(std::isnan(gauge.Categories()));
  EXPECT_EQ(gauge.p, 1.0);
}

}  // namespace
