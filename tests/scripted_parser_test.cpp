// The engine with a factory of the test's own behind it, for what the real parser never does, and the steps of its
// arithmetic that clients cannot reach one by one.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "backlight_nits_imp.h"
#include "backlight_nits_parser_imp.h"
#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

/// Fails the requests in `failing`, with these codes; counts requests.
struct Script {
  bool no_parser = false;
  std::map<BLNitsParams, int> failing;
  int requests = 0;
};
Script script;

class ScriptedParser : public BackLightNitsIntf {
 public:
  int Init() override { return 0; }
  int Deinit() override { return 0; }
  int SetParameter(BLNitsParams /*param*/, const GenericPayload& /*payload*/) override { return -95; }
  int ProcessOps(BLNitOps /*op*/, const GenericPayload& /*in*/, GenericPayload* /*out*/) override { return -95; }
  int GetParameter(BLNitsParams param, GenericPayload* /*payload*/) override {
    ++script.requests;
    return script.failing.count(param) != 0 ? script.failing[param] : 0;
  }
};

class ScriptedFactory : public BackLightNitsFactoryIntf {
 public:
  std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string /*panel_name*/) override { return nullptr; }
  std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string /*panel_name*/) override {
    return script.no_parser ? nullptr : std::make_unique<ScriptedParser>();
  }
};

class ScriptedEngine : public testing::Test {
 protected:
  ScriptedEngine() { script = {}; }

  LogLines log_;
  BackLightNitsImp engine_{"any"};
  const std::string start_ = "E BackLightNitsImp::";
};

TEST_F(ScriptedEngine, InitTellsWhichStepFailed) {
  script.no_parser = true;
  EXPECT_EQ(engine_.Init(), -22);
  script.no_parser = false;
  script.failing = {{kBLRange, -5}};
  EXPECT_EQ(engine_.Init(), -5);
  EXPECT_EQ(log_.Take(),
            (Lines{start_ + "Init: failed to create the parser", start_ + "Init: get parameter for BlRange ret -5"}));
}

TEST_F(ScriptedEngine, TellsWhichTableFailedAndAsksNoFurther) {
  ASSERT_EQ(engine_.Init(), 0);
  Holding<BlNitsValue> out;
  std::vector<double> map(3, 5.0);
  for (const auto& [param, hdr, name, requests] :
       {std::tuple{kBLNitsMapping10Percent, false, "kBLNitsMapping10Percent", 1},
        std::tuple{kBLNitsMapping100Percent, false, "kBLNitsMapping100Percent", 2},
        std::tuple{kBLHdrNitsMapping10Percent, true, "kBLHdrNitsMapping10Percent", 1},
        std::tuple{kBLHdrNitsMapping100Percent, true, "kBLHdrNitsMapping100Percent", 2}}) {
    script.failing = {{param, -7}};
    script.requests = 0;
    EXPECT_EQ(Process(engine_, kBLToNits, Level(0, 55, hdr), &out), -7);
    EXPECT_EQ(script.requests, requests);
    EXPECT_EQ(Process(engine_, kNitsToBL, Nits(0.0, 10, hdr), &out), -7);
    EXPECT_EQ(engine_.UpdateBlNitsMapping(100, hdr, nullptr, nullptr, map), -7);
    const std::string failed = std::string("get parameter for ") + name + " ret -7";
    EXPECT_EQ(log_.Take(),
              (Lines{start_ + "ProcessBackLightToNits: " + failed, start_ + "ProcessNitsToBackLight: " + failed,
                     start_ + "UpdateBlNitsMapping: get parameter for kBLNitsMapping10Percent ret -7"}));
  }
  EXPECT_EQ(engine_.UpdateBlNitsMapping(55, false, nullptr, nullptr, map), 0);
  EXPECT_EQ(log_.Take(), Lines{"I BackLightNitsImp::UpdateBlNitsMapping: only 10 or 100 percentage is supported, "
                               "input percentage 55"});
  EXPECT_EQ(map, std::vector<double>(3, 5.0));

  script.failing = {{kBLLinearTable, -7}};
  GenericPayload empty;
  EXPECT_EQ(engine_.GetParameter(kBLLinearTable, &empty), -7) << "before the payload is looked at";
  EXPECT_EQ(log_.Take(), Lines{start_ + "GetBlLinearTable: get bllinear tabled failed ret -7"});
}

TEST_F(ScriptedEngine, FetchNeedsEmptyPayloads) {
  ASSERT_EQ(engine_.Init(), 0);
  MeasuredTables first;
  first.mapping_table.CreatePayload(first.table_10);
  FetchResult result = engine_.FetchMeasuredTables(false, &first);
  EXPECT_EQ(result.ret, -114);
  EXPECT_EQ(result.step, FetchStep::kCreateTable10);
  MeasuredTables second;
  second.mapping_tablefs.CreatePayload(second.table_100);
  result = engine_.FetchMeasuredTables(false, &second);
  EXPECT_EQ(result.ret, -114);
  EXPECT_EQ(result.step, FetchStep::kCreateTable100);
}

TEST_F(ScriptedEngine, StepsRefuseNullPointersAndCoverages) {
  const BackLightToNitsTable table;
  double nits = 0.0;
  uint32_t bl = 0;
  EXPECT_EQ(engine_.InterPolate({0.0, 0.0}, {0.0, 0.0}, nullptr), -22);
  EXPECT_EQ(engine_.InterPolateBlLinearTable({}, nullptr), -22);
  EXPECT_EQ(engine_.GetNitsValue(1, nullptr, &nits), -22);
  EXPECT_EQ(engine_.GetNitsValue(1, &table, nullptr), -22);
  EXPECT_EQ(engine_.GetBlValue(1.0, nullptr, &bl), -22);
  EXPECT_EQ(engine_.GetBlValue(1.0, &table, nullptr), -22);
  const Lines lines = log_.Take();
  const Lines starts = {"InterPolate: invalid out params (nil)K",     "InterPolateBlLinearTable: invalid out param",
                        "GetNitsValue: invalid table (nil)K nits 0x", "GetNitsValue: invalid table 0x",
                        "GetBlValue: invalid table (nil)K bl 0x",     "GetBlValue: invalid table 0x"};
  ASSERT_EQ(lines.size(), starts.size());
  for (size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(lines[i].find(start_ + starts[i]), 0U) << lines[i];
  }

  const BlBackLight level = Level(1, 101);
  const BlNitsValue luminance = Nits(1.0, 0);
  BlNitsValue out;
  EXPECT_EQ(engine_.CalculateNits(&level, &out, &table, &table), -22);
  EXPECT_EQ(engine_.CalculateBl(&luminance, &out, &table, &table), -22);
  EXPECT_EQ(log_.Take(), (Lines{start_ + "CalculateNits: invalid screen percentage 101",
                                start_ + "CalculateBl: invalid screen percentage 0"}));
  EXPECT_EQ(engine_.GetNitsValue(1, &table, &(nits = 9.0)), -22);
  EXPECT_EQ(nits, 0.0) << "an empty table";
  EXPECT_EQ(engine_.GetBlValue(1.0, &table, &(bl = 9)), -22);
  EXPECT_EQ(bl, 0U);
}

TEST_F(ScriptedEngine, FindsTheNearestLevelInAMap) {
  struct Case {
    std::vector<double> map;
    double nits;
    uint32_t bl;
    const char* trace;
  };
  for (const Case& each : {
           Case{{0, 1, 2, 4}, 3.0, 2, "3.000000, bl 2, vb_to_nits_map[2] = 2.000000, vb_to_nits_map[3] = 4.000000"},
           Case{{0, 1, 2, 4}, 3.1, 3, "3.100000, bl 3, vb_to_nits_map[2] = 2.000000, vb_to_nits_map[3] = 4.000000"},
           Case{{0, 1, 2, 4}, 9.0, 3, "9.000000, bl 3, vb_to_nits_map[3] = 4.000000"},
           Case{{0, 1, 2, 4}, -1.0, 0, "-1.000000, bl 0, vb_to_nits_map[0] = 0.000000"},
           Case{{0, 1, 1, 1, 5}, 1.0, 3, "1.000000, bl 3, vb_to_nits_map[3] = 1.000000, vb_to_nits_map[4] = 5.000000"},
           Case{{5, 1, 4, 2, 3}, 3.5, 2, "3.500000, bl 2, vb_to_nits_map[1] = 1.000000, vb_to_nits_map[2] = 4.000000"},
           Case{{0, 1}, NAN, 1, "nan, bl 1, vb_to_nits_map[1] = 1.000000"},
       }) {
    uint32_t bl = 77;
    EXPECT_EQ(engine_.GetBlValue(each.nits, each.map, &bl), 0);
    EXPECT_EQ(bl, each.bl);
    EXPECT_EQ(log_.Take(), Lines{std::string("V BackLightNitsImp::GetBlValue: input nits ") + each.trace});
  }
  uint32_t bl = 77;
  EXPECT_EQ(engine_.GetBlValue(1.0, std::vector<double>(), &bl), -22);
  EXPECT_EQ(bl, 77U);
  EXPECT_EQ(log_.Take(), Lines());
}

TEST(DefaultParser, RunsNoStepAndServesNothing) {
  LogLines log;
  BackLightNitsParserImp parser;
  EXPECT_EQ(parser.Init(), 0);
  Holding<BLRange> range;
  EXPECT_EQ(parser.GetParameter(kBLRange, &range.payload), -95);
  EXPECT_EQ(log.Take(), Lines{"E BackLightNitsParserImp::GetParameter: getparameter not supported 1"});
}

}  // namespace

BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static ScriptedFactory factory;
  return &factory;
}
