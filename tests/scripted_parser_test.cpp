// The engine with a factory of the test's own behind it, for what the real parser never does, and the steps of its
// arithmetic that clients cannot reach one by one.
#include <gtest/gtest.h>

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

TEST_F(ScriptedEngine, ConversionTellsWhichTableFailedAndAsksNoFurther) {
  ASSERT_EQ(engine_.Init(), 0);
  Holding<BlBackLight> in;
  Holding<BlNitsValue> out;
  for (const auto& [param, hdr, name, requests] :
       {std::tuple{kBLNitsMapping10Percent, false, "kBLNitsMapping10Percent", 1},
        std::tuple{kBLNitsMapping100Percent, false, "kBLNitsMapping100Percent", 2},
        std::tuple{kBLHdrNitsMapping10Percent, true, "kBLHdrNitsMapping10Percent", 1},
        std::tuple{kBLHdrNitsMapping100Percent, true, "kBLHdrNitsMapping100Percent", 2}}) {
    script.failing = {{param, -7}};
    script.requests = 0;
    in->percentage = 55;
    in->hdr = hdr;
    EXPECT_EQ(engine_.ProcessOps(kBLToNits, in.payload, &out.payload), -7);
    EXPECT_EQ(log_.Take(), Lines{start_ + "ProcessBackLightToNits: get parameter for " + name + " ret -7"});
    EXPECT_EQ(script.requests, requests);
  }
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
  EXPECT_EQ(engine_.InterPolate({0.0, 0.0}, {0.0, 0.0}, nullptr), -22);
  EXPECT_EQ(engine_.GetNitsValue(1, nullptr, &nits), -22);
  EXPECT_EQ(engine_.GetNitsValue(1, &table, nullptr), -22);
  Lines lines = log_.Take();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], start_ + "InterPolate: invalid out params (nil)K");
  EXPECT_EQ(lines[1].find(start_ + "GetNitsValue: invalid table (nil)K nits 0x"), 0U) << lines[1];
  EXPECT_EQ(lines[2].find(start_ + "GetNitsValue: invalid table 0x"), 0U) << lines[2];

  BlBackLight in;
  in.percentage = 101;
  BlNitsValue out;
  EXPECT_EQ(engine_.CalculateNits(&in, &out, &table, &table), -22);
  EXPECT_EQ(log_.Take(), Lines{start_ + "CalculateNits: invalid screen percentage 101"});
  EXPECT_EQ(engine_.GetNitsValue(1, &table, &(nits = 9.0)), -22);
  EXPECT_EQ(nits, 0.0) << "an empty table";
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
