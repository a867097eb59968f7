// Tests the engine with a factory of the test: for parser errors that the real parser never returns, and for single
// steps of the arithmetic.
#include <cmath>
#include <map>

#include "backlight_nits_imp.h"
#include "backlight_nits_parser_imp.h"
#include "client.h"

namespace {

using namespace zarn;

/// Makes Init and the requests in `failing` fail with the given codes, and counts requests.
struct Script {
  bool no_parser = false;
  int init = 0;
  std::map<BLNitsParams, int> failing;
  int requests = 0;
};
Script script;

class ScriptedParser : public BackLightNitsIntf {
 public:
  int Init() override { return script.init; }
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
};

TEST_F(ScriptedEngine, TellsWhichRequestFailedAndMakesNoFurther) {
  script.no_parser = true;
  EXPECT_EQ(log_.With(engine_.Init()), "-22 | E engine::Init: failed to create the parser");
  script.no_parser = false;
  script.init = -6;
  EXPECT_EQ(log_.With(engine_.Init()), "-6 | E engine::Init: parser initialization failed, ret -6");
  script.init = 0;
  script.failing = {{kBLRange, -5}};
  EXPECT_EQ(log_.With(engine_.Init()), "-5 | E engine::Init: get parameter for BlRange ret -5");
  GenericPayload empty;
  EXPECT_EQ(log_.With(engine_.SetParameter(kBLGamma, empty)),
            "-22 | E engine::SetParameter: Implementation not initialized");
  script.failing = {};
  ASSERT_EQ(engine_.Init(), 0);

  std::vector<double> map(3, 5.0);
  Holding<BlNitsValue> out;
  for (const auto& [param, hdr, name, requests] :
       {std::tuple{kBLNitsMapping10Percent, false, "kBLNitsMapping10Percent", 1},
        std::tuple{kBLNitsMapping100Percent, false, "kBLNitsMapping100Percent", 2},
        std::tuple{kBLHdrNitsMapping10Percent, true, "kBLHdrNitsMapping10Percent", 1},
        std::tuple{kBLHdrNitsMapping100Percent, true, "kBLHdrNitsMapping100Percent", 2}}) {
    script.failing = {{param, -7}};
    script.requests = 0;
    const Holding<BlBackLight> level({sizeof(BlBackLight), 55, 0, hdr});
    const Holding<BlNitsValue> nits({sizeof(BlNitsValue), 10, 0, 0.0, hdr});
    EXPECT_EQ(log_.With(engine_.ProcessOps(kBLToNits, level.payload, &out.payload)),
              std::string("-7 | E engine::ProcessBackLightToNits: get parameter for ") + name + " ret -7");
    EXPECT_EQ(script.requests, requests);
    EXPECT_EQ(log_.With(engine_.ProcessOps(kNitsToBL, nits.payload, &out.payload)),
              std::string("-7 | E engine::ProcessNitsToBackLight: get parameter for ") + name + " ret -7");
    EXPECT_EQ(log_.With(engine_.UpdateBlNitsMapping(100, hdr, nullptr, nullptr, map)),
              "-7 | E engine::UpdateBlNitsMapping: get parameter for kBLNitsMapping10Percent ret -7");
  }
  for (const uint32_t percentage : {9U, 11U, 99U, 101U}) {
    EXPECT_EQ(log_.With(engine_.UpdateBlNitsMapping(percentage, false, nullptr, nullptr, map)),
              "0 | I engine::UpdateBlNitsMapping: only 10 or 100 percentage is supported, input percentage " +
                  std::to_string(percentage));
  }
  EXPECT_EQ(map, std::vector<double>(3, 5.0));
  script.failing = {{kBLLinearTable, -7}};
  EXPECT_EQ(log_.With(engine_.GetParameter(kBLLinearTable, &empty)),
            "-7 | E engine::GetBlLinearTable: get bllinear tabled failed ret -7");
}

TEST_F(ScriptedEngine, FetchNeedsEmptyPayloads) {
  MeasuredTables first;
  MeasuredTables second;
  first.mapping_table.CreatePayload(first.table_10);
  second.mapping_tablefs.CreatePayload(second.table_100);
  EXPECT_EQ(log_.With(engine_.FetchTablesFor("f", false, &first)),
            "-114 | E engine::f: creating mapping_table failed ret -114");
  EXPECT_EQ(log_.With(engine_.FetchTablesFor("f", true, &second)),
            "-114 | E engine::f: creating mapping_tablefs failed ret -114");
}

TEST_F(ScriptedEngine, StepsRefuseNullPointersAndCoverages) {
  const BackLightToNitsTable table;
  double nits = 9.0;
  uint32_t bl = 9;
  const BlBackLight level{sizeof(BlBackLight), 101, 1, false};
  const BlNitsValue luminance;
  BlNitsValue out;
  const auto expect = [this](int result, const std::string& line) {
    EXPECT_EQ(log_.With(result), "-22 | E engine::" + line);
  };
  expect(engine_.InterPolate({0.0, 0.0}, {0.0, 0.0}, nullptr), "InterPolate: invalid out params (nil)K");
  expect(engine_.GetNitsValue(1, nullptr, nullptr), "GetNitsValue: invalid table (nil)K nits (nil)K");
  expect(engine_.GetBlValue(1.0, nullptr, nullptr), "GetBlValue: invalid table (nil)K bl (nil)K");
  expect(engine_.InterPolateBlLinearTable({}, nullptr), "InterPolateBlLinearTable: invalid out param");
  expect(engine_.CalculateNits(&level, &out, &table, &table), "CalculateNits: invalid screen percentage 101");
  expect(engine_.CalculateBl(&luminance, &out, &table, &table), "CalculateBl: invalid screen percentage 0");
  EXPECT_EQ(engine_.GetNitsValue(1, &table, nullptr) + engine_.GetNitsValue(1, nullptr, &nits), -44);
  EXPECT_EQ(engine_.GetBlValue(1.0, &table, nullptr) + engine_.GetBlValue(1.0, nullptr, &bl), -44);
  EXPECT_TRUE(nits == 9.0 && bl == 9) << "untouched";
  EXPECT_EQ(engine_.GetNitsValue(1, &table, &nits), -22);
  EXPECT_EQ(engine_.GetBlValue(1.0, &table, &bl), -22);
  EXPECT_TRUE(nits == 0.0 && bl == 0) << "from an empty table";
}

TEST_F(ScriptedEngine, FindsTheNearestLevelInAMap) {
  const auto found = [this](const std::vector<double>& map, double nits) {
    uint32_t bl = 77;
    const int ret = engine_.GetBlValue(nits, map, &bl);
    return log_.With(std::to_string(ret) + " " + std::to_string(bl));
  };
  const std::vector<double> map = {0, 1, 2, 4};
  const std::string trace = " | V engine::GetBlValue: input nits ";
  EXPECT_EQ(found(map, 3.0),
            "0 2" + trace + "3.000000, bl 2, vb_to_nits_map[2] = 2.000000, vb_to_nits_map[3] = 4.000000");
  EXPECT_EQ(found(map, 3.1),
            "0 3" + trace + "3.100000, bl 3, vb_to_nits_map[2] = 2.000000, vb_to_nits_map[3] = 4.000000");
  EXPECT_EQ(found(map, 9.0), "0 3" + trace + "9.000000, bl 3, vb_to_nits_map[3] = 4.000000");
  EXPECT_EQ(found(map, -1.0), "0 0" + trace + "-1.000000, bl 0, vb_to_nits_map[0] = 0.000000");
  EXPECT_EQ(found({0, 1, 1, 1, 5}, 1.0).substr(0, 3), "0 3") << "the highest of equal entries";
  EXPECT_EQ(found({5, 1, 4, 2, 3}, 3.5).substr(0, 3), "0 2") << "a map that does not ascend";
  EXPECT_EQ(found({0, 1}, NAN).substr(0, 3), "0 1");
  EXPECT_EQ(found({}, 1.0), "-22 77");
}

TEST(Parser, StepsRefuseASecondDocumentAndNullPointers) {
  const TemporaryFolder folder;
  WriteFile(FileName("x"), Calibration().Text());
  BackLightNitsParserImp parser("x");
  LogLines log;
  EXPECT_EQ(log.With(parser.ParseTopNode()), "0");
  EXPECT_EQ(log.With(parser.Init()),
            "-114 | E parser::ParseTopNode: document created already"
            " | E parser::Init: ParseTopNode: ret -114");
  EXPECT_EQ(log.With(parser.Init()), "0") << "the document went with the failure";
  EXPECT_EQ(log.With(parser.ParseTopNode()), "0") << "and with the success";
  BackLightToNitsTable table;
  tinyxml2::XMLDocument document;
  EXPECT_EQ(log.With(parser.BackLightsToNitsTableParse(nullptr, &table)), "-22");
  EXPECT_EQ(log.With(parser.BackLightsToNitsTableParse(document.NewElement("nits_10"), nullptr)), "-22");

  BackLightNitsParserImp without_panel;  // so it has no steps and no getters
  Holding<BLRange> range;
  EXPECT_EQ(without_panel.Init(), 0);
  EXPECT_EQ(log.With(without_panel.GetParameter(kBLRange, &range.payload)),
            "-95 | E parser::GetParameter: getparameter not supported 1");
}

}  // namespace

BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static ScriptedFactory factory;
  return &factory;
}
