#include <algorithm>
#include <filesystem>
#include <numeric>
#include <random>

#include "client.h"

namespace {

using namespace zarn;

/// A panel whose tables give a level's own number times 1 (10 %), 2 (full screen), 3 and 4 (the same, high brightness).
/// The span is a power of two, so results are exact.
Calibration StraightPanel(uint32_t max_bl, uint32_t max_os_bl) {
  const auto straight = [](double factor) { return Points{{0, 0.0}, {1048576, 1048576 * factor}}; };
  Calibration calibration(max_bl, max_os_bl);
  calibration.standard_10 = straight(1);
  calibration.standard_100 = straight(2);
  calibration.hbm_10 = straight(3);
  calibration.hbm_100 = straight(4);
  return calibration;
}

std::vector<uint32_t> Identity(uint32_t max_bl) {
  std::vector<uint32_t> lut(max_bl + 1);
  std::iota(lut.begin(), lut.end(), 0);
  return lut;
}

class Dimming : public Client {
 protected:
  /// Makes maps from an identity LUT and the attenuation 1 for each level, and switches dimming on.
  void OpenDimmed(uint32_t max_bl, uint32_t max_os_bl) {
    Open(StraightPanel(max_bl, max_os_bl));
    EXPECT_EQ(SetLuts(Identity(max_bl), std::vector<double>(max_os_bl + 1, 1.0))[0], '0');
    EXPECT_EQ(Dim(true), "0 | I engine::SetDimmingStatus: dimming_enabled_ is updated to 1");
  }

  const std::string updating_ = " | I engine::SetDimmingLuts: Updating Dimming LUTs";
};

TEST_F(Dimming, LogsStatusAndScale) {
  Open(Calibration());
  EXPECT_EQ(Set(kBLDimmingScale, BLDimmingScale{16, 0.5}),
            "0 | I engine::SetDimmingScale: scale is updated to 0.500000");
  EXPECT_EQ(Dim(false), "0 | I engine::SetDimmingStatus: dimming_enabled_ is updated to 0");
}

TEST_F(Dimming, GettersWantOneRecordAndSettersAny) {
  Open(Calibration());
  GenericPayload empty;
  EXPECT_EQ(log_.With(engine_->GetParameter(kBLDimmingStatus, &empty)),
            "-22 | E engine::GetDimmingStatus: get payload failed");
  EXPECT_EQ(log_.With(engine_->GetParameter(kBLDimmingScale, &empty)),
            "-22 | E engine::GetDimmingScale: get payload failed");
  EXPECT_EQ(log_.With(engine_->SetParameter(kBLDimmingStatus, empty)),
            "-22 | E engine::SetDimmingStatus: failed to get payload for dimming status ret -22");
  EXPECT_EQ(log_.With(engine_->SetParameter(kBLDimmingScale, empty)),
            "-22 | E engine::SetDimmingScale: failed to get payload for dimming scale ret -22");
  EXPECT_EQ(log_.With(engine_->SetParameter(kBLDimmingLuts, empty)),
            "-22" + updating_ + " | E engine::SetDimmingLuts: failed to get payload for dimming Luts ret -22");
  Poke(&empty, 0, uint32_t{sizeof(BLDimmingStatus)});
  EXPECT_EQ(log_.With(engine_->SetParameter(kBLDimmingStatus, empty)),
            "-12 | E GenericPayload::GetPayload:Payload was not properlycreated via CreatePayload"
            " | E engine::SetDimmingStatus: failed to get payload for dimming status ret -12");
  Holding<BLDimmingStatus> two;
  Poke(&two.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(engine_->SetParameter(kBLDimmingStatus, two.payload), 0);
  EXPECT_EQ(engine_->GetParameter(kBLDimmingStatus, &two.payload), -22);
}

// A client that is built separately may write any byte into a flag.
TEST_F(Dimming, TakesEveryByteButZeroForTrue) {
  OpenDimmed(10, 10);
  for (const uint8_t byte : {uint8_t{1}, uint8_t{2}, uint8_t{128}, uint8_t{255}}) {
    Holding<BLDimmingStatus> status;
    Poke(status.record, offsetof(BLDimmingStatus, enabled), byte);
    Dim(false);
    EXPECT_EQ(log_.With(engine_->SetParameter(kBLDimmingStatus, status.payload)),
              "0 | I engine::SetDimmingStatus: dimming_enabled_ is updated to 1");
    EXPECT_EQ(Get(kBLDimmingStatus, &status), "0");
    EXPECT_EQ(ByteAt(*status.record, offsetof(BLDimmingStatus, enabled)), 1);
    Holding<BlBackLight> in({sizeof(BlBackLight), 10, 5, false});
    Poke(in.record, offsetof(BlBackLight, hdr), byte);
    Holding<BlNitsValue> out;
    EXPECT_EQ(engine_->ProcessOps(kBLToNits, in.payload, &out.payload), 0);
    EXPECT_EQ(out->nits, 15.0);
    EXPECT_EQ(ByteAt(*out.record, offsetof(BlNitsValue, hdr)), 1);
    Poke(out.record, offsetof(BlNitsValue, hdr), byte);
    EXPECT_EQ(engine_->ProcessOps(kNitsToBL, out.payload, &out.payload), 0);
    EXPECT_EQ(out->bl, 5U);
    EXPECT_EQ(ByteAt(*out.record, offsetof(BlNitsValue, hdr)), 1);
  }
}

TEST_F(Dimming, WithoutLutsEveryLevelIsDarkAndNoLuminanceHasALevel) {
  Open(Calibration());
  Dim(true);
  for (const uint32_t percentage : {10U, 55U, 100U}) {
    for (const bool hdr : {false, true}) {
      EXPECT_EQ(Nits(400, percentage, hdr), "0 hdr");
      EXPECT_EQ(Level(1.0, percentage, hdr), "-22") << "in silence";
    }
  }
}

// Both conversions of scale round down: 1 becomes panel level 4 and 0 again, 128 becomes 513 and 127.
TEST_F(Dimming, MapsHoldTheNitsOfTheDimmedLevelTimesItsAttenuation) {
  Open(StraightPanel(1023, 255));
  std::vector<uint32_t> lut = Identity(1023);
  lut[8] = 5000;  // above the range: treated as 1023
  lut[12] = 0;
  std::vector<double> attenuation(256, 1.0);
  attenuation[200] = 0.5;
  const std::string told = SetLuts(lut, attenuation);
  const std::string trace = " | V engine::UpdateBlNitsMapping: vb ";
  EXPECT_EQ(told.find("0" + updating_ + trace + "0 nits 0.000000" + trace + "1 nits 0.000000" + trace + "2 nits 255."),
            0U);
  EXPECT_NE(told.find(trace + "200 nits 99.500000" + trace), std::string::npos);
  EXPECT_EQ(told.rfind(trace + "255 nits 255.000000"), told.rfind(trace)) << "one map traces its levels";
  EXPECT_EQ(told.find(trace + "0 "), told.rfind(trace + "0 ")) << "the other three do not";
  Dim(true);
  EXPECT_EQ(Nits(1, 10), "0 hdr");
  EXPECT_EQ(Nits(2, 10), "255 hdr");
  EXPECT_EQ(Nits(3, 100), "0 hdr");
  EXPECT_EQ(Nits(200, 10), "99.5 hdr");
  EXPECT_EQ(Nits(255, 100, true), "1020 hdr");
  EXPECT_EQ(Nits(128, 100), "254 hdr");
  EXPECT_EQ(Nits(128, 55), "190.5 hdr");
  EXPECT_EQ(Nits(128, 1, true), "381 hdr");
  EXPECT_EQ(Nits(128, 55, true), "444.5 hdr");
}

TEST_F(Dimming, FindsLevelsInTheMaps) {
  OpenDimmed(400, 400);
  const auto level = [this](double nits, uint32_t percentage, bool hdr = false) {
    const std::string told = Level(nits, percentage, hdr);
    return told.substr(0, told.find(" | V engine::GetBlValue: input nits "));
  };
  EXPECT_EQ(level(100.0, 10), "100 hdr");
  EXPECT_EQ(level(100.0, 100), "50 hdr");
  EXPECT_EQ(level(1200.0, 10, true), "400 hdr");
  EXPECT_EQ(level(1200.0, 100, true), "300 hdr");
  EXPECT_EQ(Level(201.0, 55),  // 201 and the lower of two equally near levels, 100: 150.5, truncated
            "150 hdr | V engine::GetBlValue: input nits 201.000000, bl 201, vb_to_nits_map[201] = 201.000000, "
            "vb_to_nits_map[202] = 202.000000 | V engine::GetBlValue: input nits 201.000000, bl 100, "
            "vb_to_nits_map[100] = 200.000000, vb_to_nits_map[101] = 202.000000");
  EXPECT_EQ(level(303.0, 55, true), "88 hdr");
  EXPECT_EQ(level(-1.0, 55), "0 hdr");
}

TEST_F(Dimming, LevelsDoNotWrap) {
  OpenDimmed(70000, 70000);  // a product of two levels needs more than 32 bits
  EXPECT_EQ(Nits(69999, 10), "69999 hdr");
  OpenDimmed(0, 0);
  EXPECT_EQ(Nits(0, 10), "0 hdr");
  OpenDimmed(1, 1);
  EXPECT_EQ(Nits(1, 10), "1 hdr");
}

TEST_F(Dimming, LutsMustMatchTheRange) {
  OpenDimmed(20, 10);
  const std::vector<double> twice(11, 2.0);
  EXPECT_EQ(SetLuts({}, {}), "-22" + updating_ +
                                 " | E engine::SetDimmingLuts: invalid input(s) dimming_bl_lut (nil)K "
                                 "pcc_attn_lut (nil)K bl_lut_sz 0 pcc_lut_sz 0");
  for (const std::string& told :
       {SetLuts(Identity(19), twice), SetLuts(Identity(21), twice), SetLuts({}, twice), SetLuts(Identity(20), {}),
        SetLuts(Identity(20), std::vector<double>(10, 2.0)), SetLuts(Identity(20), std::vector<double>(12, 2.0))}) {
    EXPECT_EQ(told.find("-22" + updating_ + " | E engine::SetDimmingLuts: invalid input(s) dimming_bl_lut "), 0U)
        << told;
  }
  uint32_t level = 0;
  double factor = 0.0;
  const std::string null_levels = Set(kBLDimmingLuts, DimmingLuts{32, 21, nullptr, 11, &factor});
  EXPECT_NE(null_levels.find("dimming_bl_lut (nil)K pcc_attn_lut 0x"), std::string::npos) << null_levels;
  EXPECT_NE(null_levels.find("K bl_lut_sz 21 pcc_lut_sz 11"), std::string::npos) << null_levels;
  const std::string null_factors = Set(kBLDimmingLuts, DimmingLuts{32, 21, &level, 11, nullptr});
  EXPECT_NE(null_factors.find("K pcc_attn_lut (nil)K"), std::string::npos) << null_factors;
  EXPECT_EQ(Nits(10, 10), "10 hdr") << "the maps are as they were";

  // No LUT matches the greatest range. In 32 bits, the required count would overflow to 0.
  for (const auto& [max_bl, max_os_bl] : {std::pair{4294967295U, 10U}, {20U, 4294967295U}}) {
    Open(StraightPanel(max_bl, max_os_bl));
    const std::string told = Set(kBLDimmingLuts, DimmingLuts{32, max_bl + 1, &level, max_os_bl + 1, &factor});
    EXPECT_EQ(told.substr(0, 3), "-22");
  }
}

TEST_F(Dimming, AMapIsEmptiedWhereItsTableGivesNoLineAndTheLaterOnesStay) {
  OpenDimmed(10, 10);
  Calibration calibration = StraightPanel(10, 10);
  const auto remake = [&](double attenuation) {
    Write(calibration.Text());
    Init();
    return SetLuts(Identity(10), std::vector<double>(11, attenuation));
  };
  calibration.hbm_10 = {};
  const std::string told = remake(2.0);
  EXPECT_EQ(told.substr(0, 3) + told.substr(told.rfind(" | ")),
            "-22 | E engine::InterPolate: Invalid distance of zero");
  EXPECT_EQ(Nits(10, 10), "20 hdr") << "rebuilt before the failure";
  EXPECT_EQ(Nits(10, 100), "40 hdr");
  EXPECT_EQ(Nits(10, 10, true), "20 hdr") << "empty: the standard map instead";
  EXPECT_EQ(Nits(10, 100, true), "40 hdr") << "as it was";
  EXPECT_EQ(Nits(10, 55, true), "20 hdr") << "0 and 40: no other map in a combination";
  EXPECT_EQ(Level(1.0, 10, true), "-22") << "no other map in this direction";
  EXPECT_EQ(Level(1.0, 55, true), "-22");

  std::swap(calibration.hbm_10, calibration.hbm_100);
  EXPECT_EQ(remake(1.0).substr(0, 3), "-22");
  EXPECT_EQ(Nits(10, 10, true), "40 hdr") << "rebuilt from the table that was the other one";
  EXPECT_EQ(Nits(10, 100, true), "20 hdr") << "empty: the standard map instead";
  EXPECT_EQ(Nits(10, 55, true), "20 hdr") << "40 and 0";
  EXPECT_EQ(Level(1.0, 100, true), "-22") << "no other map in this direction";

  calibration.standard_100 = {{1, 1.0}, {0, 0.0}};  // fails from level 2 on
  EXPECT_EQ(remake(3.0).substr(0, 3), "-22");
  EXPECT_EQ(Nits(10, 10), "30 hdr");
  EXPECT_EQ(Nits(1, 100), "0 hdr") << "all of it emptied";
}

TEST_F(Dimming, MapsOutlastARepeatedInit) {
  OpenDimmed(10, 10);
  std::filesystem::remove(FileName(panel_));
  Init();
  EXPECT_EQ(SetLuts(Identity(10), std::vector<double>(11, 2.0)),
            "-22" + updating_ +
                " | E parser::GetParameter: Implementation not initialized"
                " | E engine::UpdateBlNitsMapping: get parameter for kBLNitsMapping10Percent ret -22");
  EXPECT_EQ(Nits(10, 10), "10 hdr") << "untouched where there are no tables";

  Write(StraightPanel(10, 12).Text());
  Init();
  EXPECT_EQ(Nits(10, 55), "15 hdr");
  for (const uint32_t percentage : {10U, 55U, 100U}) {
    EXPECT_EQ(Nits(11, percentage), "-22 | E engine::ProcessBackLightToNits: invalid input backlight 11 max 10");
  }
  EXPECT_EQ(SetLuts(Identity(10), std::vector<double>(13, 1.0))[0], '0');
  EXPECT_EQ(Nits(12, 10), "12 hdr") << "made anew, they have the new range";

  EXPECT_EQ(engine_->Deinit(), 0);
  Init();
  Dim(true);
  for (const uint32_t percentage : {10U, 100U}) {
    for (const bool hdr : {false, true}) {
      EXPECT_EQ(Level(1.0, percentage, hdr), "-22") << "Deinit empties them";
    }
  }
}

/// For rising parts of a LUT, an update searches the table only once. For any table, sorted or not, and any LUT
/// (random, rising, or in steps of one up and down), the maps must hold the table's own values.
TEST_F(Dimming, MapsHoldWhatTheTablesGive) {
  constexpr uint32_t kLast = 60;
  std::mt19937 generator(7);  // NOLINT(cert-msc51-cpp): the same in every run
  const auto below = [&](uint32_t end) { return static_cast<uint32_t>(generator() % end); };
  for (int round = 0; round < 60; ++round) {
    Calibration calibration(kLast, kLast);
    for (Points* table : {&calibration.standard_10, &calibration.standard_100}) {
      table->resize(1 + below(12));
      for (auto& [bl, nits] : *table) {
        bl = 1 + below(80);
        nits = below(1000) / 8.0;
      }
    }
    std::vector<uint32_t> lut(kLast + 1);
    lut[0] = kLast / 2;
    for (size_t i = 1; i < lut.size(); ++i) {
      lut[i] = round % 3 == 0 ? std::clamp(lut[i - 1] + 1 - 2 * below(2), 1U, kLast) : below(kLast + 1);
    }
    if (round % 3 == 1) {
      std::sort(lut.begin(), lut.end());
    }
    Open(calibration);
    std::vector<std::string> from_tables;
    from_tables.reserve(lut.size());
    for (const uint32_t level : lut) {
      from_tables.push_back(Nits(level, 10) + " hdr " + Nits(level, 100) + " hdr");
    }
    EXPECT_EQ(SetLuts(lut, std::vector<double>(kLast + 1, 1.0))[0], '0');
    Dim(true);
    for (uint32_t vb = 0; vb <= kLast; ++vb) {
      EXPECT_EQ(Nits(vb, 10) + " " + Nits(vb, 100), from_tables[vb]) << "round " << round << " level " << vb;
    }
  }
}

}  // namespace
