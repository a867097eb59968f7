#include <gtest/gtest.h>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

TEST(LinearTable, HasOnePairForEachLevelOrNone) {
  struct Case {
    Pairs sparse;
    Pairs dense;
    const char* refusal;  // instead of a table
  };
  const TemporaryFolder folder;
  LogLines log;
  for (const Case& each : {
           Case{{{0, 10}, {4, 2}}, {{0, 10}, {1, 8}, {2, 6}, {3, 4}, {4, 2}}, nullptr},
           Case{{{0, 0}, {2, 1}}, {{0, 0}, {1, 1}, {2, 1}}, nullptr},  // 0.5 is rounded away from zero
           Case{{{0, 5}, {1, 9}}, {{0, 5}, {1, 9}}, nullptr},
           Case{{{0, 0}, {3, 30}, {5, 40}}, {{0, 0}, {1, 10}, {2, 20}, {3, 30}, {4, 35}, {5, 40}}, nullptr},
           // The first of these is 5.499999999999999 by the required order of operations, 5.5 by others.
           Case{{{0, 1}, {6, 28}}, {{0, 1}, {1, 5}, {2, 10}, {3, 15}, {4, 19}, {5, 24}, {6, 28}}, nullptr},
           Case{{{0, 4294967295U}, {2, 4294967295U}}, {{0, 4294967295U}, {1, 4294967295U}, {2, 4294967295U}}, nullptr},
           Case{{}, {}, "invalid size 0"},
           Case{{{0, 1}}, {}, "invalid size 1"},
           Case{{{0, 1}, {3, 2}, {3, 5}}, {}, "invalid table values"},
           Case{{{1, 1}, {5, 2}, {3, 3}}, {}, "invalid table values"},
           Case{{{1, 10}, {4, 40}}, {}, "invalid case i 0 it->first 1 (it + 1)->first 4"},
           Case{{{1, 10}, {1048576, 40}}, {}, "invalid case i 0 it->first 1 (it + 1)->first 1048576"},
           Case{{{0, 0}, {1048576, 9}}, {}, "last linearized level 1048576 exceeds the limit 1048575"},
       }) {
    Calibration calibration;
    calibration.linear = each.sparse;
    SCOPED_TRACE(testing::PrintToString(each.sparse));
    const auto engine = NewEngine(calibration);
    log.Take();
    Holding<BLLinearTable> table;
    table->entries = {{7, 7}};
    Pairs expected = {{7, 7}};
    EXPECT_EQ(engine->GetParameter(kBLLinearTable, &table.payload), each.refusal != nullptr ? -22 : 0);
    expected.insert(expected.end(), each.dense.begin(), each.dense.end());
    EXPECT_EQ(table->entries, expected);
    EXPECT_EQ(log.Take(), each.refusal != nullptr
                              ? Lines{std::string("E BackLightNitsImp::InterPolateBlLinearTable: ") + each.refusal}
                              : Lines());
  }
}

TEST(LinearTable, ReachesItsLimitAndChecksThePayload) {
  const TemporaryFolder folder;
  Calibration calibration;
  calibration.linear = {{0, 0}, {1048575, 1048575}};
  const auto engine = NewEngine(calibration);
  Holding<BLLinearTable> table;
  EXPECT_EQ(engine->GetParameter(kBLLinearTable, &table.payload), 0);
  ASSERT_EQ(table->entries.size(), 1048576U);
  for (uint32_t level = 0; level < 1048576; ++level) {
    ASSERT_EQ(table->entries[level], (std::pair<uint32_t, uint32_t>{level, level}));
  }
  LogLines log;
  Holding<BLRange> other;
  EXPECT_EQ(engine->GetParameter(kBLLinearTable, &other.payload), -22);
  EXPECT_EQ(log.Take(), Lines{"E BackLightNitsImp::GetBlLinearTable: get payload failed"});
}

}  // namespace
