#include <cmath>

#include "client.h"

namespace {

using namespace zarn;

const std::string kZeroDistance = "-22 | E engine::InterPolate: Invalid distance of zero";

class BackLightToNits : public Client {};
class NitsToBackLight : public Client {};
class LinearTable : public Client {};

TEST_F(BackLightToNits, FollowsTheMeasuredTables) {
  Open(Calibration());
  EXPECT_EQ(Nits(100, 10), "50");    // at a measured point
  EXPECT_EQ(Nits(200, 100), "600");  // at the last point
  EXPECT_EQ(Nits(150, 1), "100");    // between two points
  EXPECT_EQ(Nits(50, 10), "25");     // below the first point: on the line from the origin
  EXPECT_EQ(Nits(0, 100), "0");
  EXPECT_EQ(Nits(400, 10), "300");  // above the last point: on the line from the origin through it
  EXPECT_EQ(Nits(100, 55), "125");  // half way between 50 and 200
  EXPECT_EQ(Nits(100, 11), "51.666666666666664");
  EXPECT_EQ(Nits(100, 99), "198.33333333333331");
  EXPECT_EQ(Nits(100, 10, true), "60");
  EXPECT_EQ(Nits(100, 100, true), "210");
  EXPECT_EQ(Nits(100, 55, true), "135");
}

TEST_F(BackLightToNits, WalksATableInTheOrderOfItsFile) {
  Calibration calibration;
  calibration.standard_10 = {{200, 20.0}, {100, 50.0}, {300, 30.0}, {300, 99.0}, {50, 1.0}};
  calibration.standard_100 = {{3, 3.0}, {0, 5.0}};
  calibration.hbm_10 = {};
  Open(calibration);
  EXPECT_EQ(Nits(100, 10), "10");  // the search stops at 200, before it reaches 100
  EXPECT_EQ(Nits(250, 10), "35");  // between 100, the last point passed, and 300
  EXPECT_EQ(Nits(300, 10), "30");  // the first of two equal levels
  EXPECT_EQ(Nits(400, 10), "8");   // on the line through the last point of the file, which is not the greatest
  EXPECT_EQ(Nits(4, 100), kZeroDistance);
  EXPECT_EQ(Nits(4, 55), kZeroDistance);
  EXPECT_EQ(Nits(0, 10, true), kZeroDistance);
}

// Each product and the sum must be rounded separately. The first value changes if the first product is fused into the
// sum or the formula is rearranged; the second value changes if the second product is fused.
TEST_F(BackLightToNits, IsExactToTheLastBit) {
  Calibration calibration;
  calibration.standard_10 = {{1, 3.0}, {3, 2.685}, {10, 15.49}};
  calibration.standard_100 = {{1, 3.0}};
  Open(calibration);
  EXPECT_EQ(Nits(1, 15), "2.9999999999999996");
  EXPECT_EQ(Nits(5, 10), "6.343571428571428");
}

TEST_F(BackLightToNits, RefusesInTheOrderPayloadsCoverageLevel) {
  Open(Calibration());
  const std::string start = "-22 | E engine::ProcessBackLightToNits: ";
  EXPECT_EQ(Nits(401, 0), start + "invalid screen percentage 0");
  EXPECT_EQ(Nits(1, 101), start + "invalid screen percentage 101");
  EXPECT_EQ(Nits(1, 4294967295U), start + "invalid screen percentage -1");
  EXPECT_EQ(Nits(401, 100), start + "invalid input backlight 401 max 400");
  Holding<BlBackLight> in;
  Holding<BlNitsValue> out;
  const auto process = [&](const GenericPayload& input, GenericPayload* output) {
    return log_.With(engine_->ProcessOps(kBLToNits, input, output));
  };
  EXPECT_EQ(process(out.payload, &out.payload), start + "get payload failed");
  EXPECT_EQ(process(in.payload, &in.payload), start + "get payload failed");
  Poke(&out.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(process(in.payload, &out.payload), start + "get payload failed");
}

TEST_F(NitsToBackLight, FollowsTheMeasuredTables) {
  Calibration calibration;
  calibration.standard_100 = {{201, 50.0}, {400, 1e-300}, {3, 150.0}, {4, 150.0}, {9, 20.0}};
  calibration.hbm_10 = {{10, -5.0}, {20, -1.0}};
  calibration.hbm_100 = {{4294967295U, 1.0}};
  Open(calibration);
  EXPECT_EQ(Level(100.0, 10), "150");  // between two points
  EXPECT_EQ(Level(100.4, 10), "150");
  EXPECT_EQ(Level(100.5, 1), "151");    // a half rounds away from zero
  EXPECT_EQ(Level(25.0, 10), "50");     // below the first point: on the line from the origin
  EXPECT_EQ(Level(300.0, 10), "400");   // above the last point: on the line from the origin through it
  EXPECT_EQ(Level(150.0, 10), "200");   // at a point
  EXPECT_EQ(Level(150.0, 100), "3");    // the first of two equal luminances in the file
  EXPECT_EQ(Level(40.0, 100), "161");   // before the first point: 160.8
  EXPECT_EQ(Level(100.0, 100), "135");  // between 400, the last point passed, and 3, at which the search stops
  EXPECT_EQ(Level(50.0, 55), "150");    // 100 and 201: 150.5, truncated
  EXPECT_EQ(Level(50.0, 99), "199");    // 199.9
  EXPECT_EQ(Level(-3.0, 10, true), "15");
  EXPECT_EQ(Level(1.0, 10, true), "0");              // -20
  EXPECT_EQ(Level(1.0, 55, true), "2147483647");     // 0 and 4294967295
  EXPECT_EQ(Level(1e300, 100, true), "4294967295");  // never above the range
  for (const double no_number : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(Level(no_number, 10), "0");
  }
}

// Adding 0.5 and truncating would turn the first one into 1, because the sum is not exact.
TEST_F(NitsToBackLight, RoundsWhatLiesJustBelowAHalfDown) {
  Calibration calibration;
  calibration.standard_10 = {{1, 1.0}};
  Open(calibration);
  EXPECT_EQ(Level(0.49999999999999994, 10), "0");
  EXPECT_EQ(Level(0.5, 10), "1");
}

// Combining two equal levels at 15 % gives 2.9999999999999996, which is truncated to 2.
TEST_F(NitsToBackLight, TruncatesTheExactCombination) {
  Calibration calibration;
  calibration.standard_10 = calibration.standard_100 = {{3, 30.0}};
  Open(calibration);
  EXPECT_EQ(Level(30.0, 15), "2");
}

TEST_F(NitsToBackLight, RefusesInTheOrderPayloadsCoverageTable) {
  Calibration calibration;
  calibration.standard_10 = {};
  calibration.standard_100 = {{5, 0.0}};
  Open(calibration);
  const std::string start = "-22 | E engine::ProcessNitsToBackLight: ";
  Holding<BlBackLight> smaller;
  Holding<BlNitsValue> right;
  EXPECT_EQ(log_.With(engine_->ProcessOps(kNitsToBL, smaller.payload, &right.payload)), start + "get payload failed");
  EXPECT_EQ(log_.With(engine_->ProcessOps(kNitsToBL, right.payload, &smaller.payload)), start + "get payload failed");
  EXPECT_EQ(Level(1.0, 101), start + "invalid screen percentage 101");
  EXPECT_EQ(Level(1.0, 10), kZeroDistance);
  EXPECT_EQ(Level(1.0, 55), kZeroDistance);
  EXPECT_EQ(Level(1.0, 100), kZeroDistance);
}

TEST_F(LinearTable, HasOnePairForEachLevelOrNone) {
  struct Case {
    Levels sparse;
    Levels dense;
    std::string refusal;
  };
  for (const Case& each : {
           Case{{{0, 10}, {4, 2}}, {{0, 10}, {1, 8}, {2, 6}, {3, 4}, {4, 2}}, ""},
           Case{{{0, 0}, {2, 1}}, {{0, 0}, {1, 1}, {2, 1}}, ""},  // 0.5 rounds away from zero
           Case{{{0, 5}, {1, 9}}, {{0, 5}, {1, 9}}, ""},
           Case{{{0, 0}, {3, 30}, {5, 40}}, {{0, 0}, {1, 10}, {2, 20}, {3, 30}, {4, 35}, {5, 40}}, ""},
           // The required order of operations gives 5.499999999999999 at level 1; other orders give 5.5.
           Case{{{0, 1}, {6, 28}}, {{0, 1}, {1, 5}, {2, 10}, {3, 15}, {4, 19}, {5, 24}, {6, 28}}, ""},
           Case{{{0, 4294967295U}, {2, 4294967295U}}, {{0, 4294967295U}, {1, 4294967295U}, {2, 4294967295U}}, ""},
           Case{{}, {}, "invalid size 0"},
           Case{{{0, 1}}, {}, "invalid size 1"},
           Case{{{0, 1}, {3, 2}, {3, 5}}, {}, "invalid table values"},
           Case{{{1, 1}, {5, 2}, {3, 3}}, {}, "invalid table values"},
           Case{{{1, 10}, {1048576, 40}}, {}, "invalid case i 0 it->first 1 (it + 1)->first 1048576"},
           Case{{{0, 0}, {1048576, 9}}, {}, "last linearized level 1048576 exceeds the limit 1048575"},
       }) {
    Calibration calibration;
    calibration.linear = each.sparse;
    Open(calibration);
    Holding<BLLinearTable> table;
    table->entries = {{7, 7}};
    EXPECT_EQ(Get(kBLLinearTable, &table),
              each.refusal.empty() ? "0" : "-22 | E engine::InterPolateBlLinearTable: " + each.refusal);
    Levels expected = {{7, 7}};
    expected.insert(expected.end(), each.dense.begin(), each.dense.end());
    EXPECT_EQ(table->entries, expected);
  }
}

TEST_F(LinearTable, ReachesItsLimitAndChecksThePayload) {
  Calibration calibration;
  calibration.linear = {{0, 0}, {1048575, 1048575}};
  Open(calibration);
  Holding<BLLinearTable> table;
  EXPECT_EQ(Get(kBLLinearTable, &table), "0");
  ASSERT_EQ(table->entries.size(), 1048576U);
  EXPECT_EQ(table->entries[1000001], (std::pair<uint32_t, uint32_t>{1000001, 1000001}));
  Holding<BLRange> other;
  EXPECT_EQ(Get(kBLLinearTable, &other), "-22 | E engine::GetBlLinearTable: get payload failed");
}

}  // namespace
