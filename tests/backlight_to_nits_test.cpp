#include <gtest/gtest.h>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

class BackLightToNits : public testing::Test {
 protected:
  int Convert(BackLightNitsIntf& engine, uint32_t bl, uint32_t percentage, bool hdr = false) {
    out_->nits = -1.0;
    log_.Take();
    return Process(engine, kBLToNits, Level(bl, percentage, hdr), &out_);
  }

  TemporaryFolder folder_;
  LogLines log_;
  Holding<BlNitsValue> out_;
};

TEST_F(BackLightToNits, FollowsTheMeasuredTables) {
  const auto engine = NewEngine(Calibration());
  struct Case {
    uint32_t bl;
    uint32_t percentage;
    bool hdr;
    double nits;
  };
  for (const Case& each : {
           Case{100, 10, false, 50.0},    // a measured point
           Case{200, 100, false, 600.0},  // the last one
           Case{150, 1, false, 100.0},    // between two
           Case{50, 10, false, 25.0},     // below the first: through the origin
           Case{0, 100, false, 0.0},
           Case{400, 10, false, 300.0},  // above the last: through the origin and it
           Case{100, 55, false, 125.0},  // half way between 50 and 200
           Case{100, 11, false, 50.0 * (89.0 / 90.0) + (1.0 / 90.0) * 200.0},
           Case{100, 99, false, 50.0 * (1.0 / 90.0) + (89.0 / 90.0) * 200.0},
           Case{100, 10, true, 60.0},
           Case{100, 100, true, 210.0},
           Case{100, 55, true, 135.0},
       }) {
    SCOPED_TRACE(testing::Message() << each.bl << " at " << each.percentage << (each.hdr ? " hdr" : ""));
    out_->hdr = !each.hdr;
    out_->size = 3;
    ASSERT_EQ(Convert(*engine, each.bl, each.percentage, each.hdr), 0);
    EXPECT_EQ(out_->nits, each.nits);
    EXPECT_EQ(out_->bl, each.bl);
    EXPECT_EQ(out_->percentage, each.percentage);
    EXPECT_EQ(out_->hdr, !each.hdr) << "not written from the tables";
    EXPECT_EQ(out_->size, 3U) << "never written";
    EXPECT_EQ(log_.Take(), Lines());
  }
}

TEST_F(BackLightToNits, WalksATableInTheOrderOfItsFile) {
  Calibration calibration;
  calibration.standard_10 = {{200, 20.0}, {100, 50.0}, {300, 30.0}, {300, 99.0}, {50, 1.0}};
  calibration.standard_100 = {{3, 3.0}, {0, 5.0}};
  calibration.hbm_10 = {};
  calibration.hbm_100 = {{0, 5.0}};
  const auto engine = NewEngine(calibration);
  ASSERT_EQ(Convert(*engine, 100, 10), 0);
  EXPECT_EQ(out_->nits, 10.0) << "200 ends the walk before 100 is met";
  ASSERT_EQ(Convert(*engine, 250, 10), 0);
  EXPECT_EQ(out_->nits, 35.0) << "from 100, the last one passed, to 300";
  ASSERT_EQ(Convert(*engine, 300, 10), 0);
  EXPECT_EQ(out_->nits, 30.0) << "the first of two";
  ASSERT_EQ(Convert(*engine, 400, 10), 0);
  EXPECT_EQ(out_->nits, 8.0) << "the last in the file, not the greatest";

  const Lines zero_distance = {"E BackLightNitsImp::InterPolate: Invalid distance of zero"};
  for (const auto& [bl, percentage, hdr] :
       {std::tuple{4U, 100U, false}, {4U, 55U, false}, {0U, 10U, true}, {1U, 100U, true}}) {
    EXPECT_EQ(Convert(*engine, bl, percentage, hdr), -22) << bl;
    EXPECT_EQ(out_->nits, -1.0) << "untouched";
    EXPECT_EQ(log_.Take(), zero_distance);
  }
}

// Each product and the sum round on their own. The first value tells whether the first product was fused into the sum
// (and whether the formula was rearranged), the second whether the second one was.
TEST_F(BackLightToNits, IsExactToTheLastBit) {
  Calibration calibration;
  calibration.standard_10 = {{1, 3.0}, {3, 2.685}, {10, 15.49}};
  calibration.standard_100 = {{1, 3.0}};
  const auto engine = NewEngine(calibration);
  ASSERT_EQ(Convert(*engine, 1, 15), 0);
  EXPECT_EQ(out_->nits, 2.9999999999999996);
  ASSERT_EQ(Convert(*engine, 5, 10), 0);
  EXPECT_EQ(out_->nits, 6.343571428571428);
}

TEST_F(BackLightToNits, RefusesInTheOrderPayloadsCoverageLevel) {
  const auto engine = NewEngine(Calibration());
  const std::string start = "E BackLightNitsImp::ProcessBackLightToNits: ";
  EXPECT_EQ(Convert(*engine, 401, 0), -22);
  EXPECT_EQ(log_.Take(), Lines{start + "invalid screen percentage 0"});
  EXPECT_EQ(Convert(*engine, 1, 4294967295U), -22);
  EXPECT_EQ(log_.Take(), Lines{start + "invalid screen percentage -1"});
  EXPECT_EQ(Convert(*engine, 401, 100), -22);
  EXPECT_EQ(log_.Take(), Lines{start + "invalid input backlight 401 max 400"});
  EXPECT_EQ(out_->nits, -1.0);

  const Lines failed = {start + "get payload failed"};
  Holding<BlBackLight> in;
  EXPECT_EQ(engine->ProcessOps(kBLToNits, out_.payload, &out_.payload), -22);
  EXPECT_EQ(log_.Take(), failed);
  EXPECT_EQ(engine->ProcessOps(kBLToNits, in.payload, &in.payload), -22);
  EXPECT_EQ(log_.Take(), failed);
  Poke(&out_.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(engine->ProcessOps(kBLToNits, in.payload, &out_.payload), -22);
  EXPECT_EQ(log_.Take(), failed);
}

}  // namespace
