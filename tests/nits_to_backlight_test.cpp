#include <gtest/gtest.h>

#include <cmath>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

class NitsToBackLight : public testing::Test {
 protected:
  TemporaryFolder folder_;
  LogLines log_;
  Holding<BlNitsValue> out_;
};

TEST_F(NitsToBackLight, FollowsTheMeasuredTables) {
  Calibration calibration;
  calibration.standard_10 = {{100, 50.0}, {200, 150.0}};
  calibration.standard_100 = {{201, 50.0}, {400, 1e-300}, {3, 150.0}, {4, 150.0}, {9, 20.0}};
  calibration.hbm_10 = {{10, -5.0}, {20, -1.0}};
  calibration.hbm_100 = {{4294967295U, 1.0}};
  const auto engine = NewEngine(calibration);
  struct Case {
    double nits;
    uint32_t percentage;
    bool hdr;
    uint32_t bl;
  };
  const double kInf = HUGE_VAL;
  for (const Case& each : {
           Case{100.0, 10, false, 150},  // between two points
           Case{100.4, 10, false, 150},
           Case{100.5, 1, false, 151},   // half way: away from zero
           Case{25.0, 10, false, 50},    // below the first: through the origin
           Case{300.0, 10, false, 400},  // above the last: through the origin and it
           Case{150.0, 10, false, 200},  // a point
           Case{-1.0, 10, false, 0},     // never below 0
           Case{kInf, 10, false, 0},     // no number
           Case{-kInf, 10, false, 0},
           Case{NAN, 10, false, 0},
           Case{1e300, 10, false, 4294967295U},  // never above the range
           Case{150.0, 100, false, 3},           // the first of two in the file
           Case{40.0, 100, false, 161},          // before the first, 160.8
           Case{100.0, 100, false, 135},         // from the last one passed, 400, to 3, which ends the walk
           Case{50.0, 55, false, 150},           // 100 and 201: 150.5, truncated
           Case{50.0, 15, false, 105},           // 105.6
           Case{50.0, 99, false, 199},           // 199.9
           Case{-3.0, 10, true, 15},             // between points of negative luminance
           Case{1.0, 100, true, 4294967295U},    // a point at the end of the range
           Case{1.0, 55, true, 2147483647},      // -20 is 0 before it is combined with 4294967295
       }) {
    SCOPED_TRACE(testing::Message() << each.nits << " at " << each.percentage << (each.hdr ? " hdr" : ""));
    out_->hdr = !each.hdr;
    out_->size = 3;
    log_.Take();
    ASSERT_EQ(Process(*engine, kNitsToBL, Nits(each.nits, each.percentage, each.hdr), &out_), 0);
    EXPECT_EQ(out_->bl, each.bl);
    EXPECT_EQ(std::memcmp(&out_->nits, &each.nits, sizeof each.nits), 0);
    EXPECT_EQ(out_->percentage, each.percentage);
    EXPECT_EQ(out_->hdr, !each.hdr) << "not written from the tables";
    EXPECT_EQ(out_->size, 3U) << "never written";
    EXPECT_EQ(log_.Take(), Lines());
  }
}

// Two equal levels at 15 % give 2.9999999999999996, of which 2 is left.
TEST_F(NitsToBackLight, TruncatesTheExactCombination) {
  Calibration calibration;
  calibration.standard_10 = calibration.standard_100 = {{3, 30.0}};
  const auto engine = NewEngine(calibration);
  ASSERT_EQ(Process(*engine, kNitsToBL, Nits(30.0, 15), &out_), 0);
  EXPECT_EQ(out_->bl, 2U);
}

TEST_F(NitsToBackLight, MayAnswerIntoItsInput) {
  const auto engine = NewEngine(Calibration());
  Holding<BlNitsValue> both;
  both->nits = 100.0;
  both->percentage = 55;
  both->hdr = true;
  ASSERT_EQ(engine->ProcessOps(kNitsToBL, both.payload, &both.payload), 0);
  EXPECT_EQ(both->bl, 94U);  // 140 and 48, rounded from 47.6
  EXPECT_EQ(both->nits, 100.0);
  EXPECT_TRUE(both->hdr);
}

TEST_F(NitsToBackLight, RefusesInTheOrderPayloadsCoverageTable) {
  Calibration calibration;
  calibration.standard_10 = {};
  calibration.standard_100 = {{5, 0.0}};
  const auto engine = NewEngine(calibration);
  const std::string start = "E BackLightNitsImp::";
  log_.Take();
  out_->bl = 77;
  Holding<BlBackLight> smaller;
  Holding<BlNitsValue> in;
  EXPECT_EQ(engine->ProcessOps(kNitsToBL, smaller.payload, &out_.payload), -22);
  EXPECT_EQ(engine->ProcessOps(kNitsToBL, in.payload, &smaller.payload), -22);
  EXPECT_EQ(Process(*engine, kNitsToBL, Nits(1.0, 101), &out_), -22);
  const Lines refused = {start + "ProcessNitsToBackLight: get payload failed",
                         start + "ProcessNitsToBackLight: get payload failed",
                         start + "ProcessNitsToBackLight: invalid screen percentage 101"};
  EXPECT_EQ(log_.Take(), refused);
  for (const uint32_t percentage : {10U, 55U, 100U}) {
    EXPECT_EQ(Process(*engine, kNitsToBL, Nits(1.0, percentage), &out_), -22);
    EXPECT_EQ(log_.Take(), Lines{start + "InterPolate: Invalid distance of zero"});
  }
  EXPECT_EQ(out_->bl, 77U);
}

}  // namespace
