// The typed client: what it reads and sets, and every error of it. The fuzz targets compare its conversions with payloads.
#include "client.h"

#include <array>

#include "backlight_nits_client.h"
#include "calibration_format.h"

namespace {

using namespace zarn;
using client::Mode;
using client::Operation;
using client::Panel;
using client::Pattern;

static_assert(client::Panel::kHighestSampledLevel == format::kLastLinearizedLevel);
static_assert(std::is_constructible_v<client::View<uint32_t>, std::vector<uint32_t>>);
static_assert(std::is_constructible_v<client::View<double>, std::array<double, 3>>);
static_assert(!std::is_constructible_v<client::View<uint32_t>, std::vector<double>>);
static_assert(!std::is_constructible_v<client::View<uint32_t>, std::vector<int64_t>>);

class TypedClient : public Client {
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

TEST_F(TypedClient, ReadsWhatTheFileHolds) {
  Client::Open(Calibration());
  const Panel panel = Panel::Open(panel_).value();
  const BLRange range = panel.Range().value();
  EXPECT_TRUE(range.minimum_bl == 1 && range.max_bl == 1023 && range.max_os_bl == 400);
  EXPECT_EQ(panel.Gamma(), 2.2);
  EXPECT_EQ(panel.Threshold(), 0.5);
  for (const auto& [pattern, mode, nits] : {std::tuple{Pattern::kOneTenth, Mode::kStandard, 50.0},
                                            {Pattern::kFullScreen, Mode::kStandard, 200.0},
                                            {Pattern::kOneTenth, Mode::kHighBrightness, 60.0},
                                            {Pattern::kFullScreen, Mode::kHighBrightness, 210.0}}) {
    const auto points = panel.MeasuredTable(pattern, mode).value();
    EXPECT_TRUE(points.size() == 2 && points[0].bl == 100 && points[0].nits == nits) << nits;
  }
}

// A moved-from handle still has the engine.
TEST_F(TypedClient, HandlesShareTheEngine) {
  Client::Open(Calibration());
  Panel panel = Panel::Attach(engine_).value();
  const Panel moved = std::move(panel);  // NOLINT(performance-move-const-arg)
  EXPECT_FALSE(moved.Dimming().value());
  ASSERT_TRUE(panel.SetDimming(true));  // NOLINT(bugprone-use-after-move): it copies
  EXPECT_TRUE(moved.Dimming().value());
  ASSERT_TRUE(panel.SetDimmingScale(0.25));
  EXPECT_EQ(moved.DimmingScale(), 0.25);
  panel.Deinit();
  EXPECT_FALSE(moved.Gamma());
  EXPECT_TRUE(panel.Init());
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

TEST_F(TypedClient, ErrorsCarryTheCodeAndTheOperation) {
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

TEST_F(TypedClient, ErrorsOfOpeningAndAttaching) {
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

TEST_F(TypedClient, ErrorsOfSamplingNameTheLevel) {
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

TEST_F(TypedClient, ErrorsAreToldInWords) {
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
