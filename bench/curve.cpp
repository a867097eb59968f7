// Sampled curves beside what else a client could do: read an array of its own, search it, or ask the engine.

#include <algorithm>
#include <cmath>
#include <limits>

#include "operations.h"
#include "references.h"
#ifdef BLNITS_PEER
#include "peer.h"
#endif

namespace bench {
namespace {

constexpr uint32_t kPoints = 32;
constexpr uint32_t kCoverage = 55;
constexpr size_t kQuestions = 4096;  // a power of two

/// A curve and what is asked of it: at random, so that no branch can be foreseen.
struct Case {
  Panel* plain;
  Panel* dimmed;
  zarn::client::Curve curve;
  std::vector<double> array;  ///< The same luminances.
  std::vector<uint32_t> levels;
  std::vector<double> nits;
};

Case MakeCase(Panel* plain, Panel* dimmed) {
  Case made{plain, dimmed, Panel::Checked(plain->client.Sample(kCoverage)), {}, {}, {}};
  for (uint32_t level = 0; level < made.curve.Size(); ++level) {
    made.array.push_back(made.curve.Nits(level));
  }
  for (size_t i = 0; i < kQuestions; ++i) {
    made.levels.push_back(plain->Next().bl);
    made.nits.push_back(plain->Next().nits);
  }
  return made;
}

double CheckedRead(const std::vector<double>& array, uint32_t level) {
  return level < array.size() ? array[level] : std::numeric_limits<double>::quiet_NaN();
}

uint32_t LowerBound(const std::vector<double>& array, double nits) {
  const auto found = std::lower_bound(array.begin(), array.end(), nits);
  if (found == array.begin()) {
    return 0;
  }
  const auto place = static_cast<uint32_t>(found - array.begin());
  if (found == array.end()) {
    return place - 1;
  }
  return std::fabs(*(found - 1) - nits) <= std::fabs(*found - nits) ? place - 1 : place;
}

/// Times `answer` for one of the questions after the other.
template <class Question, class Answer>
std::function<void(benchmark::State&)> ForEach(const std::vector<Question>& questions, Answer answer) {
  return [&questions, answer](benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
      benchmark::DoNotOptimize(answer(questions[i++ % kQuestions]));
    }
    state.SetItemsProcessed(state.iterations());
  };
}

/// The engine's conversion with records that are used again.
class Engine {
 public:
  explicit Engine(Panel* panel) : panel_(panel) { level_->percentage = nits_->percentage = kCoverage; }
  double Nits(uint32_t level) {
    level_->bl = level;
    Panel::Check(panel_->engine->ProcessOps(zarn::kBLToNits, level_.payload, &nits_.payload));
    return nits_->nits;
  }
  uint32_t Level(double nits) {
    nits_->nits = nits;
    Panel::Check(panel_->engine->ProcessOps(zarn::kNitsToBL, nits_.payload, &nits_.payload));
    return nits_->bl;
  }

 private:
  Panel* panel_;
  Holding<zarn::BlBackLight> level_;
  Holding<zarn::BlNitsValue> nits_;
};

void RegisterReading(uint32_t levels, const Case* each) {
  const auto add = [=](const char* operation, const char* variant, std::function<void(benchmark::State&)> run) {
    return Register(operation, variant, kPoints, levels, std::move(run));
  };
  const auto by_maps = std::make_shared<Engine>(each->dimmed);
  const auto curve_nits = ForEach(each->levels, [each](uint32_t level) { return each->curve.Nits(level); });
  const auto curve_level = ForEach(each->nits, [each](double nits) { return each->curve.Level(nits); });
  add("level to nits, curve", "library", curve_nits);
  add("level to nits, curve", "plain array",
      ForEach(each->levels, [each](uint32_t level) { return CheckedRead(each->array, level); }));
  add("level to nits, curve", "engine, maps",
      ForEach(each->levels, [=](uint32_t level) { return by_maps->Nits(level); }));
  add("nits to level, curve", "library", curve_level);
  add("nits to level, curve", "lower_bound",
      ForEach(each->nits, [each](double nits) { return LowerBound(each->array, nits); }));
  add("nits to level, curve", "engine, maps", ForEach(each->nits, [=](double nits) { return by_maps->Level(nits); }));
#ifdef BLNITS_PEER
  static std::vector<std::unique_ptr<References>> references;
  const auto& reference = *references.emplace_back(std::make_unique<References>(*each->plain));
  const auto peer = std::make_shared<Peer>(reference);
  add("level to nits, curve", "peer", ForEach(each->levels, [=](uint32_t level) {
        return peer->Nits({kCoverage, level, 0.0});
      }));
#endif
  for (const int threads : {1, 2}) {
    add("threads, level to nits, curve", "library", curve_nits)->Threads(threads)->UseRealTime();
    add("threads, nits to level, curve", "library", curve_level)->Threads(threads)->UseRealTime();
  }
}

void RegisterSampling(uint32_t levels, Panel* panel, const char* operation) {
  Register(operation, "library", kPoints, levels, [=](benchmark::State& state) {
    for (auto _ : state) {
      benchmark::DoNotOptimize(panel->client.Sample(kCoverage)->Size());
    }
  });
  Register(operation, "conversions", kPoints, levels, [=](benchmark::State& state) {
    Engine engine(panel);
    for (auto _ : state) {
      for (uint32_t level = 0; level <= levels; ++level) {
        benchmark::DoNotOptimize(engine.Nits(level));
      }
    }
  });
}

}  // namespace

void RegisterCurves() {
  static std::vector<std::unique_ptr<Case>> cases;
  for (const uint32_t levels : {255U, 4095U}) {
    Panel* const plain = NewPanel(kPoints, levels, false);
    Panel* const dimmed = NewPanel(kPoints, levels, true);
    RegisterReading(levels, cases.emplace_back(std::make_unique<Case>(MakeCase(plain, dimmed))).get());
    RegisterSampling(levels, plain, "sampling, tables");
    RegisterSampling(levels, dimmed, "sampling, maps");
  }
}

}  // namespace bench
