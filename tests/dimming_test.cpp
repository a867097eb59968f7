#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

/// One nit a level, times `factor`, exactly: the weights have a power of two below them.
Points Straight(double factor) { return {{0, 0.0}, {1048576, 1048576 * factor}}; }

/// A panel whose four tables differ by their factor: 1 (10 %), 2 (full screen), 3 and 4 (the same, high brightness).
Calibration StraightPanel(uint32_t max_bl, uint32_t max_os_bl) {
  Calibration calibration(max_bl, max_os_bl);
  calibration.standard_10 = Straight(1);
  calibration.standard_100 = Straight(2);
  calibration.hbm_10 = Straight(3);
  calibration.hbm_100 = Straight(4);
  return calibration;
}

std::vector<uint32_t> Identity(uint32_t max_bl) {
  std::vector<uint32_t> lut(max_bl + 1);
  std::iota(lut.begin(), lut.end(), 0);
  return lut;
}

int SetLuts(BackLightNitsIntf& engine, std::vector<uint32_t> bl, std::vector<double> pcc) {
  Holding<DimmingLuts> luts;
  luts->bl_lut_sz = static_cast<uint32_t>(bl.size());
  luts->dimming_bl_lut = bl.empty() ? nullptr : bl.data();
  luts->pcc_lut_sz = static_cast<uint32_t>(pcc.size());
  luts->pcc_attn_lut = pcc.empty() ? nullptr : pcc.data();
  return engine.SetParameter(kBLDimmingLuts, luts.payload);
}

int SetDimming(BackLightNitsIntf& engine, bool enabled) {
  Holding<BLDimmingStatus> status;
  status->enabled = enabled;
  return engine.SetParameter(kBLDimmingStatus, status.payload);
}

int SetScale(BackLightNitsIntf& engine, double scale) {
  Holding<BLDimmingScale> record;
  record->scale = scale;
  return engine.SetParameter(kBLDimmingScale, record.payload);
}

double ScaleOf(BackLightNitsIntf& engine) {
  Holding<BLDimmingScale> record;
  EXPECT_EQ(engine.GetParameter(kBLDimmingScale, &record.payload), 0);
  return record->scale;
}

bool DimmingOf(BackLightNitsIntf& engine) {
  Holding<BLDimmingStatus> record;
  EXPECT_EQ(engine.GetParameter(kBLDimmingStatus, &record.payload), 0);
  return record->enabled;
}

/// What the maps answer.
double NitsAt(BackLightNitsIntf& engine, uint32_t bl, uint32_t percentage, bool hdr = false) {
  Holding<BlNitsValue> out;
  out->hdr = !hdr;
  EXPECT_EQ(Process(engine, kBLToNits, Level(bl, percentage, hdr), &out), 0);
  EXPECT_EQ(out->hdr, hdr) << "written from the maps";
  EXPECT_EQ(out->bl, bl);
  EXPECT_EQ(out->percentage, percentage);
  return out->nits;
}

class Dimming : public testing::Test {
 protected:
  TemporaryFolder folder_;
  LogLines log_;
  const std::string error_ = "E BackLightNitsImp::";
  const std::string info_ = "I BackLightNitsImp::";
};

TEST_F(Dimming, KeepsStatusAndScale) {
  const auto engine = NewEngine(Calibration());
  log_.Take();
  EXPECT_FALSE(DimmingOf(*engine));
  EXPECT_EQ(ScaleOf(*engine), 1.0);
  EXPECT_EQ(SetScale(*engine, 0.5), 0);
  EXPECT_EQ(SetDimming(*engine, true), 0);
  EXPECT_TRUE(DimmingOf(*engine));
  EXPECT_EQ(ScaleOf(*engine), 0.5);
  EXPECT_EQ(SetDimming(*engine, false), 0);
  EXPECT_EQ(ScaleOf(*engine), 1.0);
  EXPECT_EQ(log_.Take(), (Lines{info_ + "SetDimmingScale: scale is updated to 0.500000",
                                info_ + "SetDimmingStatus: dimming_enabled_ is updated to 1",
                                info_ + "SetDimmingStatus: dimming_enabled_ is updated to 0"}));
  SetScale(*engine, -3.0);
  SetDimming(*engine, true);
  EXPECT_EQ(engine->Init(), 0);
  EXPECT_TRUE(DimmingOf(*engine)) << "outlasts a repeated Init";
  EXPECT_EQ(ScaleOf(*engine), -3.0);
  EXPECT_EQ(engine->Deinit(), 0);
  EXPECT_EQ(engine->Init(), 0);
  EXPECT_FALSE(DimmingOf(*engine));
  EXPECT_EQ(ScaleOf(*engine), 1.0);
}

TEST_F(Dimming, GettersWantOneRecordAndSettersAny) {
  const auto engine = NewEngine(Calibration());
  struct Case {
    BLNitsParams param;
    const char* getter;
    const char* setter;
  };
  log_.Take();
  for (const Case& each :
       {Case{kBLDimmingStatus, "GetDimmingStatus", "SetDimmingStatus: failed to get payload for dimming status"},
        Case{kBLDimmingScale, "GetDimmingScale", "SetDimmingScale: failed to get payload for dimming scale"},
        Case{kBLDimmingLuts, nullptr, "SetDimmingLuts: failed to get payload for dimming Luts"}}) {
    GenericPayload empty;
    Lines expected;
    if (each.getter != nullptr) {
      EXPECT_EQ(engine->GetParameter(each.param, &empty), -22);
      expected.push_back(error_ + each.getter + ": get payload failed");
    } else {
      expected.push_back(info_ + "SetDimmingLuts: Updating Dimming LUTs");
    }
    EXPECT_EQ(engine->SetParameter(each.param, empty), -22);
    expected.push_back(error_ + each.setter + " ret -22");
    EXPECT_EQ(log_.Take(), expected);
  }
  GenericPayload lost;
  Poke(&lost, offsetof(PayloadLayout, type_size), uint32_t{sizeof(BLDimmingStatus)});
  EXPECT_EQ(engine->SetParameter(kBLDimmingStatus, lost), -12);
  EXPECT_EQ(log_.Take(), (Lines{"E GenericPayload::GetPayload:Payload was not properlycreated via CreatePayload",
                                error_ + "SetDimmingStatus: failed to get payload for dimming status ret -12"}));
  Holding<BLDimmingStatus> two;
  two->enabled = true;
  Poke(&two.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(engine->SetParameter(kBLDimmingStatus, two.payload), 0);
  EXPECT_EQ(engine->GetParameter(kBLDimmingStatus, &two.payload), -22);
}

TEST_F(Dimming, WithoutLutsEveryLevelIsDarkAndNoLuminanceHasALevel) {
  const auto engine = NewEngine(Calibration());
  SetDimming(*engine, true);
  log_.Take();
  Holding<BlNitsValue> out;
  for (const uint32_t percentage : {10U, 55U, 100U}) {
    for (const bool hdr : {false, true}) {
      EXPECT_EQ(NitsAt(*engine, 400, percentage, hdr), 0.0);
      EXPECT_EQ(Process(*engine, kNitsToBL, Nits(1.0, percentage, hdr), &out), -22);
    }
  }
  EXPECT_EQ(log_.Take(), Lines()) << "all of it in silence";
}

TEST_F(Dimming, MapsHoldTheNitsOfTheDimmedLevelTimesItsAttenuation) {
  const auto engine = NewEngine(StraightPanel(1023, 255));
  std::vector<uint32_t> lut = Identity(1023);
  lut[8] = 5000;  // above the range: as 1023
  lut[12] = 0;
  std::vector<double> attenuation(256, 1.0);
  attenuation[200] = 0.5;
  log_.Take();
  ASSERT_EQ(SetLuts(*engine, lut, attenuation), 0);
  const Lines lines = log_.Take();
  ASSERT_EQ(lines.size(), 257U) << "one map traces its levels, the other three do not";
  EXPECT_EQ(lines[0], info_ + "SetDimmingLuts: Updating Dimming LUTs");
  EXPECT_EQ(lines[201], "V BackLightNitsImp::UpdateBlNitsMapping: vb 200 nits 99.500000");

  ASSERT_EQ(SetDimming(*engine, true), 0);
  // Both ways are rounded down: 1 goes to panel level 4 and back to 0, 128 to 513 and back to 127.
  for (const auto& [bl, dimmed] :
       {std::pair{0U, 0.0}, {1U, 0.0}, {2U, 255.0}, {3U, 0.0}, {128U, 127.0}, {200U, 99.5}, {255U, 255.0}}) {
    EXPECT_EQ(NitsAt(*engine, bl, 10), dimmed) << bl;
    EXPECT_EQ(NitsAt(*engine, bl, 100), 2 * dimmed) << bl;
    EXPECT_EQ(NitsAt(*engine, bl, 1, true), 3 * dimmed) << bl;
    EXPECT_EQ(NitsAt(*engine, bl, 100, true), 4 * dimmed) << bl;
    EXPECT_EQ(NitsAt(*engine, bl, 55), 1.5 * dimmed) << bl;
    EXPECT_EQ(NitsAt(*engine, bl, 55, true), 3.5 * dimmed) << bl;
  }
}

TEST_F(Dimming, FindsLevelsInTheMaps) {
  const auto engine = NewEngine(StraightPanel(400, 400));
  ASSERT_EQ(SetLuts(*engine, Identity(400), std::vector<double>(401, 1.0)), 0);
  ASSERT_EQ(SetDimming(*engine, true), 0);
  Holding<BlNitsValue> both;
  for (const auto& [nits, percentage, hdr, bl] :
       {std::tuple{100.0, 10U, false, 100U},
        {100.0, 100U, false, 50U},
        {1200.0, 10U, true, 400U},
        {1200.0, 100U, true, 300U},
        {201.0, 55U, false, 150U},  // 201 and 100, the lower of two: 150.5, truncated
        {303.0, 55U, true, 88U},
        {-1.0, 55U, false, 0U},
        {1e9, 55U, true, 400U}}) {
    both->nits = nits;
    both->percentage = percentage;
    both->hdr = hdr;
    both->bl = 7;
    ASSERT_EQ(engine->ProcessOps(kNitsToBL, both.payload, &both.payload), 0);
    EXPECT_EQ(both->bl, bl) << nits;
    EXPECT_EQ(both->nits, nits);
    EXPECT_EQ(both->hdr, hdr);
  }
}

TEST_F(Dimming, LevelsDoNotWrap) {
  const uint32_t max = 70000;  // whose square is more than 32 bits hold
  const auto engine = NewEngine(StraightPanel(max, max));
  ASSERT_EQ(SetLuts(*engine, Identity(max), std::vector<double>(max + 1, 1.0)), 0);
  ASSERT_EQ(SetDimming(*engine, true), 0);
  EXPECT_EQ(NitsAt(*engine, 69999, 10), 69999.0);

  const auto dark = NewEngine(StraightPanel(0, 0));
  ASSERT_EQ(SetLuts(*dark, {9}, {2.0}), 0);
  ASSERT_EQ(SetDimming(*dark, true), 0);
  EXPECT_EQ(NitsAt(*dark, 0, 10), 0.0);
}

TEST_F(Dimming, LutsMustMatchTheRange) {
  const auto engine = NewEngine(StraightPanel(20, 10));
  const std::vector<double> attenuation(11, 1.0);
  ASSERT_EQ(SetLuts(*engine, Identity(20), attenuation), 0);
  ASSERT_EQ(SetDimming(*engine, true), 0);
  const std::vector<double> brighter(11, 2.0);
  EXPECT_EQ(SetLuts(*engine, Identity(19), brighter), -22);
  log_.Take();
  EXPECT_EQ(SetLuts(*engine, Identity(21), brighter), -22);
  const Lines lines = log_.Take();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[1].find(error_ + "SetDimmingLuts: invalid input(s) dimming_bl_lut 0x"), 0U) << lines[1];
  EXPECT_NE(lines[1].find("K bl_lut_sz 22 pcc_lut_sz 11"), std::string::npos) << lines[1];
  EXPECT_EQ(SetLuts(*engine, Identity(20), std::vector<double>(10, 2.0)), -22);
  EXPECT_EQ(SetLuts(*engine, Identity(20), std::vector<double>(12, 2.0)), -22);
  EXPECT_EQ(SetLuts(*engine, {}, brighter), -22);
  EXPECT_EQ(SetLuts(*engine, Identity(20), {}), -22);
  EXPECT_EQ(NitsAt(*engine, 10, 10), 10.0) << "the maps are as they were";

  // Nothing matches the greatest range: the count would wrap to 0, with arrays that hold nothing.
  for (const auto& [max_bl, max_os_bl] : {std::pair{4294967295U, 10U}, {20U, 4294967295U}}) {
    const auto endless = NewEngine(StraightPanel(max_bl, max_os_bl));
    Holding<DimmingLuts> luts;
    uint32_t level = 0;
    double factor = 0.0;
    luts->dimming_bl_lut = &level;
    luts->pcc_attn_lut = &factor;
    luts->bl_lut_sz = max_bl + 1;
    luts->pcc_lut_sz = max_os_bl + 1;
    EXPECT_EQ(endless->SetParameter(kBLDimmingLuts, luts.payload), -22);
  }
}

class FailingMaps : public Dimming {
 protected:
  /// Maps with the factors 1 to 4, dimming on.
  FailingMaps() {
    WriteFile(FileName(panel_), StraightPanel(10, 10).Text());
    EXPECT_EQ(engine_->Init(), 0);
    EXPECT_EQ(SetLuts(*engine_, Identity(10), std::vector<double>(11, 1.0)), 0);
    EXPECT_EQ(SetDimming(*engine_, true), 0);
  }

  /// Reads the panel anew and hands in LUTs that make all twice as bright.
  int RebuildFrom(const Calibration& calibration) {
    WriteFile(FileName(panel_), calibration.Text());
    EXPECT_EQ(engine_->Init(), 0);
    log_.Take();
    return SetLuts(*engine_, Identity(10), std::vector<double>(11, 2.0));
  }

  std::string panel_ = NewPanelName();
  std::shared_ptr<BackLightNitsIntf> engine_ = EngineOf(panel_);
};

TEST_F(FailingMaps, AreEmptiedWhereTheirTableGivesNoLine) {
  Calibration calibration = StraightPanel(10, 10);
  calibration.hbm_10 = {};
  EXPECT_EQ(RebuildFrom(calibration), -22);
  EXPECT_EQ(log_.Take().back(), error_ + "InterPolate: Invalid distance of zero");
  EXPECT_EQ(NitsAt(*engine_, 10, 10), 20.0) << "rebuilt before the failure";
  EXPECT_EQ(NitsAt(*engine_, 10, 100), 40.0);
  EXPECT_EQ(NitsAt(*engine_, 10, 10, true), 20.0) << "empty: the standard map instead";
  EXPECT_EQ(NitsAt(*engine_, 10, 100, true), 40.0 * 1.0) << "as it was";
  EXPECT_EQ(NitsAt(*engine_, 10, 55, true), 20.0) << "0 and 40: no map instead in a combination";
  log_.Take();
  Holding<BlNitsValue> out;
  EXPECT_EQ(Process(*engine_, kNitsToBL, Nits(1.0, 10, true), &out), -22) << "no map instead in this direction";
  EXPECT_EQ(Process(*engine_, kNitsToBL, Nits(1.0, 55, true), &out), -22);
  EXPECT_EQ(log_.Take(), Lines());

  // Cleared, not left in part: the failure comes at the third of eleven levels.
  calibration.hbm_10 = Straight(3);
  calibration.standard_100 = {{0, 0.0}, {1, 1.0}, {0, 0.0}};
  EXPECT_EQ(RebuildFrom(calibration), -22);
  EXPECT_EQ(NitsAt(*engine_, 1, 100), 0.0);
}

TEST_F(FailingMaps, AreUntouchedWhereTheParserHasNoTable) {
  std::filesystem::remove(FileName(panel_));
  EXPECT_EQ(engine_->Init(), -2);
  EXPECT_EQ(SetLuts(*engine_, Identity(10), std::vector<double>(11, 2.0)), -22);
  EXPECT_EQ(NitsAt(*engine_, 10, 10), 10.0);
  EXPECT_EQ(NitsAt(*engine_, 10, 100, true), 40.0);
}

TEST_F(FailingMaps, RefuseLevelsThatTheyDoNotHold) {
  WriteFile(FileName(panel_), StraightPanel(10, 12).Text());
  ASSERT_EQ(engine_->Init(), 0);
  EXPECT_EQ(NitsAt(*engine_, 10, 55), 15.0);
  Holding<BlNitsValue> out;
  out->nits = -1.0;
  log_.Take();
  for (const uint32_t percentage : {10U, 55U, 100U}) {
    EXPECT_EQ(Process(*engine_, kBLToNits, Level(11, percentage), &out), -22);
    EXPECT_EQ(log_.Take(), Lines{error_ + "ProcessBackLightToNits: invalid input backlight 11 max 10"});
  }
  EXPECT_EQ(out->nits, -1.0);
  EXPECT_EQ(engine_->Deinit(), 0);
  EXPECT_EQ(engine_->Init(), 0);
  EXPECT_EQ(SetDimming(*engine_, true), 0);
  EXPECT_EQ(NitsAt(*engine_, 10, 55), 0.0) << "Deinit empties the maps";
}

}  // namespace
