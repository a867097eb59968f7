// The typed client against the same calls by payloads, and every error of it.
#include "client.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <map>

#include "backlight_nits_client.h"
#include "calibration_format.h"

namespace {

using namespace zarn;
using client::Mode;
using client::Operation;
using client::Panel;
using client::Pattern;

static_assert(client::Panel::kHighestSampledLevel == format::kLastLinearizedLevel);

constexpr Mode kModes[] = {Mode::kStandard, Mode::kHighBrightness};

static_assert(std::is_constructible_v<client::View<uint32_t>, std::vector<uint32_t>>);
static_assert(std::is_constructible_v<client::View<double>, std::array<double, 3>>);
static_assert(!std::is_constructible_v<client::View<uint32_t>, std::vector<double>>);
static_assert(!std::is_constructible_v<client::View<uint32_t>, std::vector<int64_t>>);

/// The samples, in the working folder.
class TypedClient : public testing::TestWithParam<const char*> {
 protected:
  ~TypedClient() override { panel_.Deinit(); }

  static Panel OpenSample() {
    std::filesystem::copy(BLNITS_SAMPLES, ".");
    return Panel::Open(GetParam()).value();
  }

  template <class Record>
  std::unique_ptr<Record> ByPayload(BLNitsParams param) {
    return Got<Record>(*panel_.Engine(), param);
  }

  /// The conversion by payloads; nothing when it is refused.
  std::optional<BlNitsValue> ByPayload(BLNitOps op, uint32_t coverage, uint32_t bl, double nits, Mode mode) {
    const bool hdr = mode == Mode::kHighBrightness;
    const Holding<BlBackLight> level({sizeof(BlBackLight), coverage, bl, hdr});
    const Holding<BlNitsValue> luminance({sizeof(BlNitsValue), coverage, 0, nits, hdr});
    Holding<BlNitsValue> out;
    const auto& in = op == kBLToNits ? level.payload : luminance.payload;
    return panel_.Engine()->ProcessOps(op, in, &out.payload) == 0 ? std::optional(*out.record) : std::nullopt;
  }

  void ExpectSameConversions(uint32_t max_os_bl) {
    for (const Mode mode : kModes) {
      for (const uint32_t coverage : {0U, 1U, 10U, 11U, 55U, 100U, 101U}) {
        for (uint32_t level = 0; level <= max_os_bl + 1; ++level) {
          const auto nits = panel_.Nits(level, coverage, mode);
          const auto by_payload = ByPayload(kBLToNits, coverage, level, 0.0, mode);
          ASSERT_EQ(nits.has_value(), by_payload.has_value()) << coverage << " % " << level;
          ASSERT_TRUE(!nits || *nits == by_payload->nits) << coverage << " % " << level;
          const auto back = panel_.Level(level * 1.7, coverage, mode);
          const auto back_by_payload = ByPayload(kNitsToBL, coverage, 0, level * 1.7, mode);
          ASSERT_EQ(back.has_value(), back_by_payload.has_value()) << coverage << " % " << level;
          ASSERT_TRUE(!back || *back == back_by_payload->bl) << coverage << " % " << level;
        }
      }
    }
  }

  TemporaryFolder folder_;
  LogLines log_;
  Panel panel_ = OpenSample();
};

INSTANTIATE_TEST_SUITE_P(Samples, TypedClient, testing::Values("lcd_small", "oled_hbm", "oled_phone"));

TEST_P(TypedClient, ReadsWhatPayloadsRead) {
  const auto range = ByPayload<BLRange>(kBLRange);
  const BLRange typed = panel_.Range().value();
  EXPECT_EQ(std::memcmp(&typed, range.get(), sizeof typed), 0);
  EXPECT_EQ(panel_.Gamma().value(), ByPayload<BLGamma>(kBLGamma)->gamma);
  EXPECT_EQ(panel_.Threshold().value(), ByPayload<BLPccThresh>(kBLPccThresh)->pcc_thresh);
  EXPECT_EQ(panel_.LinearTable().value(), ByPayload<BLLinearTable>(kBLLinearTable)->entries);
  const std::tuple<Pattern, Mode, BLNitsParams> tables[] = {
      {Pattern::kOneTenth, Mode::kStandard, kBLNitsMapping10Percent},
      {Pattern::kFullScreen, Mode::kStandard, kBLNitsMapping100Percent},
      {Pattern::kOneTenth, Mode::kHighBrightness, kBLHdrNitsMapping10Percent},
      {Pattern::kFullScreen, Mode::kHighBrightness, kBLHdrNitsMapping100Percent}};
  for (const auto& [pattern, mode, param] : tables) {
    const auto points = panel_.MeasuredTable(pattern, mode).value();
    const auto by_payload = ByPayload<BackLightToNitsTable>(param)->points;
    ASSERT_FALSE(points.empty());
    EXPECT_TRUE(std::equal(points.begin(), points.end(), by_payload.begin(), by_payload.end(),
                           [](const auto& a, const auto& b) { return a.bl == b.bl && a.nits == b.nits; }))
        << param;
  }
}

TEST_P(TypedClient, ConvertsAndDimsAsPayloadsDo) {
  const BLRange range = panel_.Range().value();
  ExpectSameConversions(range.max_os_bl);

  EXPECT_FALSE(panel_.Dimming().value());
  ASSERT_TRUE(panel_.SetDimming(true));
  EXPECT_TRUE(panel_.Dimming().value());
  EXPECT_TRUE(ByPayload<BLDimmingStatus>(kBLDimmingStatus)->enabled);
  EXPECT_EQ(panel_.Nits(range.max_os_bl, 10), 0.0) << "no LUTs yet";
  std::vector<uint32_t> lut(range.max_bl + 1);
  for (uint32_t level = 0; level <= range.max_bl; ++level) {
    lut[level] = level / 2;
  }
  const std::vector<double> attenuation(range.max_os_bl + 1, 0.9);
  ASSERT_TRUE(panel_.SetDimmingLuts(lut, {attenuation.data(), attenuation.size()}));
  EXPECT_GT(panel_.Nits(range.max_os_bl, 10).value(), 0.0);
  ExpectSameConversions(range.max_os_bl);

  EXPECT_EQ(panel_.DimmingScale(), 1.0);
  ASSERT_TRUE(panel_.SetDimmingScale(0.25));
  EXPECT_EQ(panel_.DimmingScale(), 0.25);
  EXPECT_EQ(ByPayload<BLDimmingScale>(kBLDimmingScale)->scale, 0.25);
  ASSERT_TRUE(panel_.SetDimming(false));
  EXPECT_FALSE(panel_.Dimming().value());
  EXPECT_EQ(panel_.DimmingScale(), 1.0);
}

TEST_P(TypedClient, HandlesShareTheEngineAndStayWhenTheyAreMovedFrom) {
  Panel attached = Panel::Attach(panel_.Engine()).value();
  const Panel moved = std::move(attached);  // NOLINT(performance-move-const-arg)
  ASSERT_TRUE(panel_.SetDimmingScale(0.5));
  for (const Panel* const panel :
       {&moved, static_cast<const Panel*>(&attached)}) {  // NOLINT(bugprone-use-after-move): it copies
    EXPECT_EQ(panel->DimmingScale(), 0.5);
  }
  panel_.Deinit();
  EXPECT_FALSE(moved.Gamma());
  EXPECT_TRUE(panel_.Init());
  EXPECT_TRUE(moved.Gamma());
}

/// An engine that returns one code for every call and records the requested parameters.
class OneCode : public BackLightNitsIntf {
 public:
  explicit OneCode(int code) : code_(code) {}
  int Init() override { return code_; }
  int Deinit() override { return 0; }
  int SetParameter(BLNitsParams param, const GenericPayload& /*payload*/) override { return Asked(param); }
  int GetParameter(BLNitsParams param, GenericPayload* /*payload*/) override { return Asked(param); }
  int ProcessOps(BLNitOps op, const GenericPayload& /*in*/, GenericPayload* /*out*/) override {
    return Asked(100 + op);
  }
  std::vector<int> asked;

 private:
  int Asked(int what) {
    asked.push_back(what);
    return code_;
  }
  int code_;
};

class TypedClientErrors : public Client {
 protected:
  /// "<code> <operation>[ <level>]", or "done".
  template <class T>
  static std::string Failed(const client::Result<T>& result) {
    if (result) {
      return "done";
    }
    const client::Error& error = result.error();
    return std::to_string(error.code) + " " + Words(error.operation) +
           (error.level ? " " + std::to_string(*error.level) : "");
  }
};

TEST_F(TypedClientErrors, CarryTheCodeAndTheOperation) {
  const auto engine = std::make_shared<OneCode>(-5);
  Panel panel = Panel::Attach(engine).value();
  EXPECT_EQ(Failed(panel.Init()), "-5 read the calibration file");
  EXPECT_EQ(Failed(panel.Nits(7, 10)), "-5 convert a level to nits 7");
  EXPECT_EQ(Failed(panel.Level(7.0, 10)), "-5 convert nits to a level");
  EXPECT_EQ(Failed(panel.Sample(10)), "-5 sample a curve");
  EXPECT_EQ(Failed(panel.Range()), "-5 read the backlight range");
  EXPECT_EQ(Failed(panel.Gamma()), "-5 read the gamma");
  EXPECT_EQ(Failed(panel.Threshold()), "-5 read the threshold");
  EXPECT_EQ(Failed(panel.MeasuredTable(Pattern::kOneTenth)), "-5 read a measured table");
  EXPECT_EQ(Failed(panel.LinearTable()), "-5 read the linear table");
  EXPECT_EQ(Failed(panel.Dimming()), "-5 read the dimming status");
  EXPECT_EQ(Failed(panel.SetDimming(true)), "-5 set the dimming status");
  EXPECT_EQ(Failed(panel.DimmingScale()), "-5 read the dimming scale");
  EXPECT_EQ(Failed(panel.SetDimmingScale(1.0)), "-5 set the dimming scale");
  const std::vector<uint32_t> lut(1);
  const std::vector<double> attenuation(1);
  EXPECT_EQ(Failed(panel.SetDimmingLuts(lut, attenuation)), "-5 set the dimming LUTs");
  EXPECT_EQ(engine->asked, (std::vector<int>{100, 101, 1, 1, 0, 7, 3, 2, 8, 8, 9, 9, 10}));

  // A count that does not fit into the record must not be truncated to a smaller one.
  engine->asked.clear();
  EXPECT_EQ(Failed(panel.SetDimmingLuts({lut.data(), (size_t{1} << 32) + 1}, attenuation)), "-22 set the dimming LUTs");
  EXPECT_EQ(Failed(panel.SetDimmingLuts(lut, {attenuation.data(), size_t{1} << 32})), "-22 set the dimming LUTs");
  EXPECT_TRUE(engine->asked.empty());
}

TEST_F(TypedClientErrors, OfOpeningAndAttaching) {
  EXPECT_EQ(Failed(Panel::Open("nowhere")), "-2 open the panel");
  WriteFile(FileName("wrong"), "<Calib_Data gamma='2.2' minimum_bl='1'/>");
  EXPECT_EQ(Failed(Panel::Open("wrong")), "-22 open the panel");
  EXPECT_EQ(Failed(Panel::Attach(nullptr)), "-22 attach to an engine");

  // A parser returns the content of the file.
  Client::Open(Calibration());
  auto* const factory = GetBackLightNitsFactoryIntf();
  Panel parser = Panel::Attach(factory->CreateBackLightNitsParser(panel_)).value();
  EXPECT_EQ(Failed(parser.Gamma()), "-22 read the gamma");
  ASSERT_TRUE(parser.Init());
  EXPECT_EQ(parser.LinearTable().value(), Calibration().linear);
  EXPECT_EQ(Failed(parser.Dimming()), "-95 read the dimming status");
  EXPECT_EQ(Failed(parser.SetDimming(true)), "-95 set the dimming status");
  EXPECT_EQ(Failed(parser.Nits(1, 10)), "-95 convert a level to nits 1");
}

TEST_F(TypedClientErrors, OfSamplingNameTheLevel) {
  Calibration calibration(10, 10);
  calibration.standard_100 = {};
  calibration.hbm_10 = {{4, 8.0}, {5, 0.0}};
  Client::Open(calibration);
  Panel panel = Panel::Attach(engine_).value();
  EXPECT_EQ(Failed(panel.Sample(10)), "done");
  EXPECT_EQ(Failed(panel.Sample(100)), "-22 sample a curve 0");
  EXPECT_EQ(Failed(panel.Sample(0)), "-22 sample a curve 0");
  EXPECT_EQ(panel.Sample(10, Mode::kHighBrightness)->Size(), 11U);

  // The maps still have eleven levels after the range has grown.
  ASSERT_TRUE(panel.SetDimming(true));
  calibration.standard_100 = {{1, 1.0}};
  Write(calibration.Text());
  ASSERT_TRUE(panel.Init());
  ASSERT_TRUE(panel.SetDimmingLuts(std::vector<uint32_t>(11), std::vector<double>(11)));
  EXPECT_EQ(Failed(panel.Sample(55)), "done");
  calibration.attributes = "gamma='2.2' minimum_bl='1' max_bl='10' max_os_bl='20'";
  Write(calibration.Text());
  ASSERT_TRUE(panel.Init());
  EXPECT_EQ(Failed(panel.Sample(55)), "-22 sample a curve 11");

  for (const char* const last : {"1048576", "4294967295"}) {
    calibration.attributes = "gamma='2.2' minimum_bl='1' max_bl='10' max_os_bl='" + std::string(last) + "'";
    Write(calibration.Text());
    ASSERT_TRUE(panel.Init());
    EXPECT_EQ(Failed(panel.Sample(55)), "-7 sample a curve") << last;
  }
}

TEST_F(TypedClientErrors, AreToldInWords) {
  const auto words = [](int code, Operation operation, std::optional<uint32_t> level = std::nullopt) {
    return Words(client::Error{code, operation, level});
  };
  EXPECT_EQ(words(-2, Operation::kOpen),
            "cannot open the panel: the calibration file is missing or cannot be loaded (-2)");
  EXPECT_EQ(
      words(-22, Operation::kSample, 0),
      "cannot sample a curve at level 0: the engine is not initialised, a value is out of range, or the calibration "
      "file is faulty (-22)");
  EXPECT_EQ(words(-95, Operation::kNits, 300), "cannot convert a level to nits at level 300: not supported (-95)");
  EXPECT_EQ(words(-7, Operation::kSample), "cannot sample a curve: too many levels (-7)");
  EXPECT_EQ(words(-12, Operation::kSetDimming), "cannot set the dimming status: failed (-12)");
}

}  // namespace
