#include "operations.h"

namespace bench {
namespace {

constexpr uint32_t kPoints = 32;
constexpr uint32_t kLevels = 255;
constexpr int kMaxThreads = 4;

void Convert(Panel* panel, benchmark::State& state) {
  Holding<zarn::BlBackLight> in;
  Holding<zarn::BlNitsValue> out;
  in->percentage = 55;
  in->bl = 100;
  for (auto _ : state) {
    Panel::Check(panel->engine->ProcessOps(zarn::kBLToNits, in.payload, &out.payload));
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterContention() {
  std::vector<Panel*> panels;
  panels.reserve(kMaxThreads);
  for (int i = 0; i < kMaxThreads; ++i) {
    panels.push_back(NewPanel(kPoints, kLevels, false));
  }
  const auto add = [](const char* variant, const std::function<void(benchmark::State&)>& run) {
    for (int threads = 1; threads <= kMaxThreads; threads *= 2) {
      Register("threads", variant, kPoints, kLevels, run)->Threads(threads)->UseRealTime();
    }
  };
  add("one engine", [=](benchmark::State& state) { Convert(panels.front(), state); });
  add("an engine each",
      [=](benchmark::State& state) { Convert(panels[static_cast<size_t>(state.thread_index())], state); });
}

}  // namespace bench
