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

/// Takes lines and does nothing with them.
class IdleHandler : public display::DebugHandler {
 public:
  void Error(const char* /*format*/, ...) override {}
  void Warning(const char* /*format*/, ...) override {}
  void Info(const char* /*format*/, ...) override {}
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}
};

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
    display::debug_handler_ = &idle_;
  }

  void Expect(const char* what, int result, const std::function<int()>& operation) {
    const size_t taken = StackOf([&] { EXPECT_EQ(operation(), result) << what; });
    std::printf("%-40s %6zu bytes\n", what, taken);
    EXPECT_LE(taken, 32U << 10) << what;
  }

  template <class Record>
  void ExpectGet(const char* what, BLNitsParams param) {
    Holding<Record> record;
    Expect(what, 0, [&] { return engine_->GetParameter(param, &record.payload); });
  }

  template <class Record>
  void ExpectSet(const char* what, BLNitsParams param, const Record& record) {
    const Holding<Record> held(record);
    Expect(what, 0, [&] { return engine_->SetParameter(param, held.payload); });
  }

  void ExpectConversions() {
    const Holding<BlBackLight> level({sizeof(BlBackLight), 55, 5, false});
    const Holding<BlNitsValue> nits({sizeof(BlNitsValue), 55, 0, 5.0, false});
    Holding<BlNitsValue> out;
    Expect("ProcessOps kBLToNits", 0, [&] { return engine_->ProcessOps(kBLToNits, level.payload, &out.payload); });
    Expect("ProcessOps kNitsToBL", 0, [&] { return engine_->ProcessOps(kNitsToBL, nits.payload, &out.payload); });
    Expect("ProcessOps, refused", -22, [&] { return engine_->ProcessOps(kBLToNits, nits.payload, &out.payload); });
  }

  IdleHandler idle_;
};

TEST_F(Stack, Of32KiBSufficesForEachOperation) {
  Expect("CreateBackLightNitsIntf", 0,
         [] { return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("other") != nullptr ? 0 : 1; });
  Expect("Init", 0, [&] { return engine_->Init(); });
  ExpectGet<BLGamma>("GetParameter kBLGamma", kBLGamma);
  ExpectGet<BLRange>("GetParameter kBLRange", kBLRange);
  ExpectGet<BLLinearTable>("GetParameter kBLLinearTable", kBLLinearTable);
  ExpectGet<BackLightToNitsTable>("GetParameter kBLNitsMapping10Percent", kBLNitsMapping10Percent);
  ExpectGet<BLPccThresh>("GetParameter kBLPccThresh", kBLPccThresh);
  ExpectGet<BLDimmingStatus>("GetParameter kBLDimmingStatus", kBLDimmingStatus);
  ExpectConversions();
  std::vector<uint32_t> bl(11, 5);
  std::vector<double> pcc(11, 1.0);
  ExpectSet("SetParameter kBLDimmingLuts", kBLDimmingLuts,
            DimmingLuts{sizeof(DimmingLuts), 11, bl.data(), 11, pcc.data()});
  ExpectSet("SetParameter kBLDimmingScale", kBLDimmingScale, BLDimmingScale{sizeof(BLDimmingScale), 0.5});
  ExpectSet("SetParameter kBLDimmingStatus", kBLDimmingStatus, BLDimmingStatus{sizeof(BLDimmingStatus), true});
  ExpectConversions();
  Expect("Deinit", 0, [&] { return engine_->Deinit(); });
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
    Expect(what, result, [&] { return engine_->Init(); });
  }
  std::filesystem::remove(FileName(panel_));
  Expect("Init, no file", -2, [&] { return engine_->Init(); });
}

}  // namespace
