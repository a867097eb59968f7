#include <gtest/gtest.h>

#include <filesystem>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

class Engine : public testing::Test {
 protected:
  TemporaryFolder folder_;
  LogLines log_;
  const std::string start_ = "E BackLightNitsImp::";
};

TEST_F(Engine, RefusesInTheOrderStateOutputIdentifier) {
  const auto engine = EngineOf(NewPanel(Calibration().Text()));
  log_.Take();
  GenericPayload empty;
  EXPECT_EQ(engine->Deinit(), 0);
  EXPECT_EQ(engine->GetParameter(kBLGamma, nullptr), -22);
  EXPECT_EQ(engine->SetParameter(kBLGamma, empty), -22);
  EXPECT_EQ(engine->ProcessOps(BLNitOps(2), empty, nullptr), -22);
  EXPECT_EQ(log_.Take(), (Lines{start_ + "GetParameter: Implementation not initialized",
                                start_ + "SetParameter: Implementation not initialized",
                                start_ + "ProcessOps: Implementation not initialized"}));

  ASSERT_EQ(engine->Init(), 0);
  log_.Take();
  EXPECT_EQ(engine->GetParameter(kBLDimmingLuts, nullptr), -22);
  EXPECT_EQ(engine->ProcessOps(BLNitOps(2), empty, nullptr), -22);
  EXPECT_EQ(engine->GetParameter(kBLDimmingLuts, &empty), -95);
  EXPECT_EQ(engine->GetParameter(BLNitsParams(-2147483647 - 1), &empty), -95);
  EXPECT_EQ(engine->SetParameter(kBLPccThresh, empty), -95);
  EXPECT_EQ(engine->ProcessOps(BLNitOps(-1), empty, &empty), -95);
  EXPECT_EQ(log_.Take(), (Lines{start_ + "GetParameter: output parameter is invalid",
                                start_ + "ProcessOps: output parameter is invalid",
                                start_ + "GetParameter: getparameter not supported 10",
                                start_ + "GetParameter: getparameter not supported -2147483648",
                                start_ + "SetParameter: setparameter not supported 7",
                                start_ + "ProcessOps: processops not supported -1"}));
}

TEST_F(Engine, ForwardsCalibrationDataFromItsParser) {
  const auto engine = NewEngine(Calibration());
  Holding<BLGamma> gamma;
  Holding<BLRange> range;
  Holding<BLPccThresh> threshold;
  EXPECT_EQ(engine->GetParameter(kBLGamma, &gamma.payload), 0);
  EXPECT_EQ(engine->GetParameter(kBLRange, &range.payload), 0);
  EXPECT_EQ(engine->GetParameter(kBLPccThresh, &threshold.payload), 0);
  EXPECT_EQ(gamma->gamma, 2.2);
  EXPECT_EQ(threshold->pcc_thresh, 0.5);
  EXPECT_EQ(range->minimum_bl, 1U);
  EXPECT_EQ(range->max_bl, 1023U);
  EXPECT_EQ(range->max_os_bl, 400U);
  for (const auto& [param, nits] : {std::pair{kBLNitsMapping10Percent, 50.0},
                                    {kBLNitsMapping100Percent, 200.0},
                                    {kBLHdrNitsMapping10Percent, 60.0},
                                    {kBLHdrNitsMapping100Percent, 210.0}}) {
    Holding<BackLightToNitsTable> table;
    EXPECT_EQ(engine->GetParameter(param, &table.payload), 0);
    EXPECT_EQ(table->points.at(0).nits, nits);
  }
  log_.Take();
  Holding<BLDimmingStatus> other;
  EXPECT_EQ(engine->GetParameter(kBLRange, &other.payload), -22);
  EXPECT_EQ(log_.Take(), Lines{"E BackLightNitsParserImp::GetBlRange: get payload failed"});
}

TEST_F(Engine, InitCanFailAndBeRepeated) {
  const std::string panel = NewPanelName();
  const auto engine = EngineOf(panel);
  log_.Take();
  EXPECT_EQ(engine->Init(), -2);
  EXPECT_EQ(log_.Take().back(), "W BackLightNitsImp::Init: parser initialization failed due to missing XML, ret -2");
  WriteFile(FileName(panel), "<wrong/>");
  EXPECT_EQ(engine->Init(), -22);
  EXPECT_EQ(log_.Take().back(), start_ + "Init: parser initialization failed, ret -22");
  Holding<BLRange> range;
  EXPECT_EQ(engine->GetParameter(kBLRange, &range.payload), -22);
  EXPECT_EQ(log_.Take(), Lines{start_ + "GetParameter: Implementation not initialized"});

  WriteFile(FileName(panel), Calibration().Text());
  ASSERT_EQ(engine->Init(), 0);
  std::filesystem::remove(FileName(panel));
  EXPECT_EQ(engine->Init(), -2) << "stays initialised, with a parser that is not";
  log_.Take();
  EXPECT_EQ(engine->GetParameter(kBLRange, &range.payload), -22);
  EXPECT_EQ(log_.Take(), Lines{"E BackLightNitsParserImp::GetParameter: Implementation not initialized"});
  Holding<BlNitsValue> out;
  EXPECT_EQ(Process(*engine, kBLToNits, Level(0, 100), &out), -22);
  EXPECT_EQ(log_.Take(), (Lines{"E BackLightNitsParserImp::GetParameter: Implementation not initialized",
                                start_ + "ProcessBackLightToNits: get parameter for kBLNitsMapping10Percent ret -22"}));
  EXPECT_EQ(engine->Deinit(), 0);
  EXPECT_EQ(engine->GetParameter(kBLRange, &range.payload), -22);
  EXPECT_EQ(log_.Take(), Lines{start_ + "GetParameter: Implementation not initialized"});
}

}  // namespace
