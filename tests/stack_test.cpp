// Limits the stack that the library's operations need: a client may call them from any thread.
#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "client.h"

namespace {

using namespace zarn;

/// The stack in bytes of a thread that runs only `operation`, including the thread's own overhead.
size_t StackOf(const std::function<void()>& operation) {
  constexpr size_t kBytes = 1 << 20;
  constexpr char kPaint = 0x5a;
  void* const memory = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT_NE(memory, MAP_FAILED);
  std::memset(memory, kPaint, kBytes);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, memory, kBytes), 0);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  EXPECT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&operation)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const char* const lowest = static_cast<const char*>(memory);
  const char* const end = lowest + kBytes;
  const auto taken = end - std::find_if(lowest, end, [](char c) { return c != kPaint; });
  munmap(memory, kBytes);
  return static_cast<size_t>(taken);
}

class Stack : public Client {
 protected:
  void SetUp() override {
    if (kSanitized) {
      GTEST_SKIP() << "a sanitizer makes frames larger";
    }
    Open(Calibration(10, 10));
    display::debug_handler_ = nullptr;
  }

  void Expect(const char* what, const std::function<bool()>& operation) {
    const size_t taken = StackOf([&] { EXPECT_TRUE(operation()) << what; });
    std::printf("%-40s %6zu bytes\n", what, taken);
    EXPECT_LE(taken, 32U << 10) << what;
  }
};

TEST_F(Stack, Of32KiBSufficesForEachOperation) {
  client::Panel panel = client::Panel::Attach(engine_).value();
  const std::vector<uint32_t> bl(11, 5);
  const std::vector<double> pcc(11, 1.0);
  for (const auto& [what, operation] : std::vector<std::pair<const char*, std::function<bool()>>>{
           {"an engine", [] { return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("other") != nullptr; }},
           {"Init", [&] { return panel.Init().has_value(); }},
           {"Gamma", [&] { return panel.Gamma().has_value(); }},
           {"Range", [&] { return panel.Range().has_value(); }},
           {"LinearTable", [&] { return panel.LinearTable().has_value(); }},
           {"MeasuredTable", [&] { return panel.MeasuredTable(client::Pattern::kOneTenth).has_value(); }},
           {"Threshold", [&] { return panel.Threshold().has_value(); }},
           {"Dimming", [&] { return panel.Dimming().has_value(); }},
           {"Nits", [&] { return panel.Nits(5, 55).has_value(); }},
           {"Level", [&] { return panel.Level(5.0, 55).has_value(); }},
           {"Nits, refused", [&] { return panel.Nits(5, 101).error().code == -22; }},
           {"SetDimmingLuts", [&] { return panel.SetDimmingLuts(bl, pcc).has_value(); }},
           {"SetDimmingScale", [&] { return panel.SetDimmingScale(0.5).has_value(); }},
           {"SetDimming", [&] { return panel.SetDimming(true).has_value(); }},
           {"Nits, dimmed", [&] { return panel.Nits(5, 55).has_value(); }},
           {"Level, dimmed", [&] { return panel.Level(5.0, 55).has_value(); }},
           {"Deinit", [&] { return engine_->Deinit() == 0; }},
       }) {
    Expect(what, operation);
  }
}

// The XML reader recurses once for each nested element, also when it finds an error and when it frees the document.
TEST_F(Stack, Of32KiBSufficesForEachFile) {
  const std::string file = Calibration(10, 10).Text();
  const auto with = [&](const std::string& place, const std::string& text) {
    return std::string(file).insert(file.find(place), text);
  };
  const std::string deep = file.substr(0, file.find("<linear")) + Repeated("<a b=''>", 62) + "<b>";
  const auto closed = [&](const std::string& content) {
    return std::string(deep).append(content).append("</b>" + Repeated("</a>", 62) + file.substr(file.find("<linear")));
  };
  const std::string digits = Repeated("0123456789", 100000);
  for (const auto& [what, text, result] : {
           std::tuple{"Init, nested 64 deep", closed("1"), 0},
           std::tuple{"Init, nested 65 deep", closed("<b/>"), -2},
           std::tuple{"Init, 64 deep, another end tag", deep + "</c>", -2},
           std::tuple{"Init, 64 deep, an attribute twice", deep + "</b c='' c=''>", -2},
           std::tuple{"Init, 64 deep, a declaration", closed("<?c?>"), -2},
           std::tuple{"Init, 64 deep, without an end", deep, -2},
           std::tuple{"Init, 64 deep, a comment without an end", deep + "<!--", -2},
           std::tuple{"Init, long tags", with("<meas", Repeated("<" + std::string(2040, 'x') + "/>", 1000)), 0},
           std::tuple{"Init, a megabyte of digits", with("600</value>", "0." + digits + "e-300"), 0},
           std::tuple{"Init, a wrong value", with("600</value>", "<b/>"), -22},
           std::tuple{"Init, another root", "<" + std::string(2000, 'x') + "/>", -22},
       }) {
    Write(text);
    Expect(what, [&, expected = result] { return engine_->Init() == expected; });
  }
  std::filesystem::remove(FileName(panel_));
  Expect("Init, no file", [&] { return engine_->Init() == -2; });
}

}  // namespace
