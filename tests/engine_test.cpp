#include <filesystem>
#include <thread>

#include "client.h"

namespace {

using namespace zarn;

TEST(Factory, HandsOutOneEngineANameAndAnyNumberOfParsers) {
  LogLines log;
  BackLightNitsFactoryIntf* const factory = GetBackLightNitsFactoryIntf();
  const auto engine = factory->CreateBackLightNitsIntf("f");
  const auto again = factory->CreateBackLightNitsIntf("f");
  EXPECT_EQ(engine, again);
  EXPECT_EQ(log.With(""),
            " | I factory::CreateBackLightNitsIntf: Creating new BlToNits interfece for panel f"
            " | I factory::CreateBackLightNitsIntf: BL nits interface already created, use count 3");
  for (const std::string& name : {std::string("f "), std::string("F"), std::string(), std::string("f\0", 2)}) {
    const auto other = factory->CreateBackLightNitsIntf(name);
    EXPECT_NE(other, engine);
    EXPECT_EQ(log.With(""), " | I factory::CreateBackLightNitsIntf: Creating new BlToNits interfece for panel " +
                                name.substr(0, name.find('\0')));
    EXPECT_EQ(factory->CreateBackLightNitsIntf(name), other);
    log.With("");
  }
  EXPECT_NE(factory->CreateBackLightNitsParser("f"), factory->CreateBackLightNitsParser("f"));
}

// The threads make the first call of the entry point in this process, since each test has its own process, and the
// first request for the panel.
TEST(Threads, GetOneEngineAndConvertWithItWhileOthersReload) {
  const TemporaryFolder folder;
  Calibration brighter;
  brighter.standard_10 = {{100, 51.0}, {200, 151.0}};
  const auto write = [](const Calibration& calibration, const std::string& panel) {
    WriteFile("new", calibration.Text());
    std::filesystem::rename("new", FileName(panel));
  };
  constexpr size_t kThreads = 6;
  for (const char* const panel : {"t", "t0", "t1", "t2", "t3", "t4", "t5"}) {
    write(Calibration(), panel);
  }
  std::vector<std::shared_ptr<BackLightNitsIntf>> engines(kThreads);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const auto engine = engines[i] = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("t");
      const auto own = client::Panel::Open("t" + std::to_string(i)).value();
      const auto shared = client::Panel::Attach(engine).value();
      EXPECT_EQ(engine->Init(), 0);
      for (int turn = 0; turn < 100; ++turn) {
        const double nits = shared.Nits(150, 10).value_or(-1.0);
        EXPECT_TRUE(nits == 100.0 || nits == 101.0 || nits == -1.0) << nits;
        EXPECT_EQ(own.Nits(150, 10), 100.0);
        if (i == 0) {
          write(turn % 2 == 0 ? brighter : Calibration(), "t");
          EXPECT_EQ(engine->Init(), 0);
        } else if (i == 1 && turn % 10 == 0) {
          EXPECT_EQ(engine->Deinit(), 0);
        }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(engines, std::vector<std::shared_ptr<BackLightNitsIntf>>(kThreads, engines[0]));
}

class Engine : public Client {};

TEST_F(Engine, RefusesInTheOrderStateOutputIdentifier) {
  GenericPayload empty;
  Open(Calibration());
  const auto expect = [&](GenericPayload* output, const char* get, const char* process, const char* set) {
    EXPECT_EQ(log_.With(engine_->GetParameter(kBLDimmingLuts, output)), get);
    EXPECT_EQ(log_.With(engine_->ProcessOps(BLNitOps(-2147483647 - 1), empty, output)), process);
    EXPECT_EQ(log_.With(engine_->SetParameter(kBLPccThresh, empty)), set);
  };
  const char* const no_setter = "-95 | E engine::SetParameter: setparameter not supported 7";
  expect(nullptr, "-22 | E engine::GetParameter: output parameter is invalid",
         "-22 | E engine::ProcessOps: output parameter is invalid", no_setter);
  expect(&empty, "-95 | E engine::GetParameter: getparameter not supported 10",
         "-95 | E engine::ProcessOps: processops not supported -2147483648", no_setter);
  EXPECT_EQ(engine_->Deinit(), 0);
  EXPECT_EQ(engine_->Deinit(), 0);
  expect(nullptr, "-22 | E engine::GetParameter: Implementation not initialized",
         "-22 | E engine::ProcessOps: Implementation not initialized",
         "-22 | E engine::SetParameter: Implementation not initialized");
}

TEST_F(Engine, InitCanFailAndBeRepeated) {
  Open(Calibration());
  panel_ += "b";
  engine_ = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(panel_);
  EXPECT_EQ(engine_->Deinit(), 0) << "before the first Init";
  log_.With("");
  const std::string file = " | I parser::BackLightNitsParserImp: file_name " + FileName(panel_);
  const std::string missing = "-2" + file + " | W parser::ParseTopNode: file not found " + FileName(panel_) +
                              " | W parser::Init: ParseTopNode: ret -2"
                              " | W engine::Init: parser initialization failed due to missing XML, ret -2";
  EXPECT_EQ(Init(), missing);
  Write("<Calib_Data/>");
  EXPECT_EQ(Init(), "-22" + file +
                        " | E parser::ParseGamma: failed to find gamma | E parser::Init: ParseGamma: ret -22"
                        " | E engine::Init: parser initialization failed, ret -22");
  EXPECT_EQ(Nits(1, 1), "-22 | E engine::ProcessOps: Implementation not initialized");
  Write(Calibration().Text());
  EXPECT_EQ(Init(), "0" + file);
  std::filesystem::remove(FileName(panel_));
  EXPECT_EQ(Init(), missing);
  EXPECT_EQ(Nits(1, 1),
            "-22 | E parser::GetParameter: Implementation not initialized"
            " | E engine::ProcessBackLightToNits: get parameter for kBLNitsMapping10Percent ret -22")
      << "stays initialised, with a parser that is not";
  EXPECT_EQ(engine_->Deinit(), 0);
  EXPECT_EQ(Nits(1, 1), "-22 | E engine::ProcessOps: Implementation not initialized");
}

}  // namespace
