#include <gtest/gtest.h>

#include <thread>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

TEST(Factory, HandsOutOneEngineAName) {
  const TemporaryFolder folder;
  LogLines log;
  const std::string start = "I BackLightNitsFactoryIntfImp::CreateBackLightNitsIntf: ";
  BackLightNitsFactoryIntf* const factory = GetBackLightNitsFactoryIntf();
  const std::string panel = NewPanel(Calibration().Text());

  auto engine = factory->CreateBackLightNitsIntf(panel);
  EXPECT_EQ(engine.use_count(), 2);
  EXPECT_EQ(factory->CreateBackLightNitsIntf(panel), engine);
  EXPECT_NE(factory->CreateBackLightNitsIntf(panel + " "), engine);
  EXPECT_NE(factory->CreateBackLightNitsIntf("P" + panel.substr(1)), engine);
  EXPECT_NE(factory->CreateBackLightNitsIntf(""), engine);
  EXPECT_EQ(log.Take(), (Lines{start + "Creating new BlToNits interfece for panel " + panel,
                               start + "BL nits interface already created, use count 3",
                               start + "Creating new BlToNits interfece for panel " + panel + " ",
                               start + "Creating new BlToNits interfece for panel P" + panel.substr(1),
                               start + "Creating new BlToNits interfece for panel "}));

  ASSERT_EQ(engine->Init(), 0);
  engine.reset();
  Holding<BLRange> range;
  EXPECT_EQ(factory->CreateBackLightNitsIntf(panel)->GetParameter(kBLRange, &range.payload), 0)
      << "the engine outlives its clients";
}

TEST(Factory, MakesANewParserEachTime) {
  LogLines log;
  const auto first = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
  const auto second = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
  EXPECT_NE(first, second);
  const std::string line = "I BackLightNitsParserImp::BackLightNitsParserImp: file_name backlight_calib_x.xml";
  EXPECT_EQ(log.Take(), (Lines{line, line}));
}

TEST(Factory, ManyThreadsGetOneEngineAndConvertWithIt) {
  const TemporaryFolder folder;
  const std::string panel = NewPanel(Calibration().Text());
  constexpr int kThreads = 8;
  std::vector<std::shared_ptr<BackLightNitsIntf>> engines(kThreads);
  std::vector<double> nits(kThreads, 0.0);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      engines[i] = EngineOf(panel);
      EXPECT_EQ(engines[i]->Init(), 0);
      for (int turn = 0; turn < 50; ++turn) {
        Holding<BlNitsValue> out;
        EXPECT_EQ(Process(*engines[i], kBLToNits, Level(150, 10), &out), 0);
        nits[i] = out->nits;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(nits, std::vector<double>(kThreads, 100.0));
  EXPECT_EQ(engines, std::vector<std::shared_ptr<BackLightNitsIntf>>(kThreads, engines[0]));
}

}  // namespace
