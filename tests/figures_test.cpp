// The figures of vision beside the values that are published for them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "figures/gsdf.h"
#include "figures/lightness.h"
#include "figures/pq.h"

namespace {

using namespace blnits;

TEST(Figures, HaveThePublishedValues) {
  struct Case {
    double figure;
    double published;
    double tolerance;
  };
  for (const auto& [figure, published, tolerance] : {
           Case{NitsOfJndIndex(1), 0.049982, 5e-7},
           {NitsOfJndIndex(10), 0.099066, 5e-7},
           {NitsOfJndIndex(100), 1.850833, 5e-7},
           {NitsOfJndIndex(512), 130.0653, 5e-5},
           {NitsOfJndIndex(1023), 3993.329586, 5e-7},
           {PqOfNits(0), 7.3096e-7, 5e-12},
           {PqOfNits(1), 0.1499457321, 5e-11},
           {PqOfNits(100), 0.5080784215, 5e-11},
           {PqOfNits(203), 0.5806888810, 5e-11},
           {PqOfNits(4000), 0.9025723933, 5e-11},
           {PqOfNits(10000), 1.0, 0.0},
           {NitsOfPq(0.5), 92.245709, 5e-7},
           {LightnessOf(0.18), 49.496108, 5e-7},
           {LightnessOf(0.001), 0.903296, 5e-7},
           {LightnessOf(1.0), 100.0, 1e-13},
           {RelativeOfLightness(50), 0.184186519, 5e-10},
       }) {
    EXPECT_NEAR(figure, published, tolerance);
  }
  EXPECT_EQ(PqCodeOfNits(100, 10), 520U);
  EXPECT_EQ(PqCodeOfNits(1000, 12), 3079U);
}

TEST(Figures, ComeBack) {
  for (int half = 3; half < 2046; ++half) {
    const double index = half / 2.0;
    EXPECT_NEAR(JndIndexOfNits(NitsOfJndIndex(index)).value(), index, 1e-9);
    EXPECT_NEAR(RoughJndIndexOfNits(NitsOfJndIndex(index + 0.1)).value_or(-1.0), index + 0.1, 1e-3);
  }
  for (int power = -300; power < 400; ++power) {
    const double nits = std::pow(10.0, power / 100.0);
    EXPECT_NEAR(NitsOfPq(PqOfNits(nits)) / nits, 1.0, 1e-11);
    EXPECT_NEAR(RelativeOfLightness(LightnessOf(nits / 10000)) * 10000 / nits, 1.0, 1e-12);
  }
  for (const double nits : {-1.0, 0.0, 0.0499, 4000.1, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_FALSE(JndIndexOfNits(nits).has_value());
    EXPECT_FALSE(RoughJndIndexOfNits(nits).has_value());
  }
  for (const double nits : {0.05, 4000.0}) {
    EXPECT_NEAR(JndIndexOfNits(nits).value_or(0.0), RoughJndIndexOfNits(nits).value_or(-1.0), 1e-3);
  }
}

}  // namespace
