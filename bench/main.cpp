// Each benchmark is named "operation/who/points:32/levels:255". "who" is the library or a reference.

#include <benchmark/benchmark.h>
#include <tinyxml2.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <random>

#include "peer.h"

namespace bench {
namespace {

constexpr size_t kRequests = 4096;  // a power of two
constexpr int kMaxThreads = 4;

/// The library and its references on a panel with a given number of points and levels.
class Case {
 public:
  Case(uint32_t points, uint32_t levels)
      : plain(points, levels, false),
        dimmed(points, levels, true),
        references(plain),
        peer(plain, references),
        curve(plain.client.Sample(55).value()) {
    for (int i = 0; i < kMaxThreads; ++i) {
      of_threads.emplace_back(points, levels, false);
    }
    for (uint32_t level = 0; level < curve.Size(); ++level) {
      array.push_back(curve.Nits(level));
    }
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
    std::uniform_int_distribution<uint32_t> coverage(0, 2);
    std::uniform_int_distribution<uint32_t> level(1, levels);
    std::uniform_real_distribution<double> nits(2.0, plain.calibration.standard_100.back().second);
    for (size_t i = 0; i < kRequests; ++i) {
      requests.push_back({10 + 45 * coverage(random), level(random), nits(random)});
    }
    CheckReferences();
  }

  Panel plain;
  Panel dimmed;
  std::vector<Panel> of_threads;
  References references;
  Peer peer;
  zarn::client::Curve curve;  ///< At 55 %.
  std::vector<double> array;  ///< The luminances of the curve.
  std::vector<Request> requests;

 private:
  /// The references must compute the same as the library.
  void CheckReferences() {
    Caller tables(plain);
    Caller maps(dimmed);
    for (const Request& r : requests) {
      const double nits = tables.Nits(r);
      Require(nits == NitsBy(references.points, r) && nits == references.NitsWithLocksAndCopies(r),
              "the references give the same nits");
      Require(std::fabs(nits - peer.Nits(r)) <= 1e-9 * nits, "the peer gives the same nits");
      const uint32_t level = tables.Level(r);
      Require(level == LevelBy(references.points, r) && level == references.LevelWithLocksAndCopies(r),
              "the references give the same level");
      Require(maps.Nits(r) == references.MappedNitsWithLocksAndCopies(r), "the references give the same nits by maps");
      Require(maps.Level(r) == references.LockedMappedLevel(r), "the references give the same level by maps");
    }
    Require(
        tables.Dense() == DenseOf(plain.calibration.linear) && tables.Dense() == references.DenseWithLocksAndCopies(),
        "the references give the same dense table");
  }
};

/// The Case of a benchmark, made on first use and before the time is taken.
Case& CaseOf(const benchmark::State& state) {
  static std::mutex lock;
  static std::map<std::pair<int64_t, int64_t>, std::unique_ptr<Case>> cases;
  const Guard guard(lock);
  auto& found = cases[{state.range(0), state.range(1)}];
  if (!found) {
    found = std::make_unique<Case>(static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)));
  }
  return *found;
}

/// One thread's access to a Case.
struct Client {
  Case& all;
  Panel& mine;  ///< No other thread uses it.
  References& references = all.references;
  Peer& peer = all.peer;
  Caller plain{all.plain};
  Caller dimmed{all.dimmed};
  Caller own{mine};
};

enum Grows { kPoints, kLevels };

/// Measures the time of `answer`, one request after the other.
template <class Answer>
benchmark::internal::Benchmark* Add(const std::string& operation, const std::string& who, Answer answer,
                                    Grows grows = kPoints) {
  const auto run = [=](benchmark::State& state) {
    Case& all = CaseOf(state);
    Client client{all, all.of_threads[static_cast<size_t>(state.thread_index())]};
    size_t i = 0;
    for (auto _ : state) {
      benchmark::DoNotOptimize(answer(client, all.requests[i++ % kRequests]));
    }
    state.SetItemsProcessed(state.iterations());
    state.SetComplexityN(state.range(grows));
  };
  return benchmark::RegisterBenchmark((operation + "/" + who).c_str(), run)->ArgNames({"points", "levels"});
}

template <class Answer>
void AddReference(const char* operation, const char* who, Answer answer) {
  Add(operation, who, answer)->ArgsProduct({{32, 512}, {255, 4095}});
}

/// Adds the library's benchmarks, also with growing numbers of points and levels.
template <class Answer>
void AddLibrary(const char* operation, Answer answer) {
  AddReference(operation, "library", answer);
  Add(operation, "points grow", answer, kPoints)->ArgsProduct({{8, 32, 128, 512, 2048}, {4095}})->Complexity();
  Add(operation, "levels grow", answer, kLevels)->ArgsProduct({{32}, {63, 255, 1023, 4095, 16383}})->Complexity();
}

void AddConversions() {
  AddLibrary("level to nits, tables", [](auto& c, auto& r) { return c.plain.Nits(r); });
  AddReference("level to nits, tables", "bare", [](auto& c, auto& r) { return NitsBy(c.references.points, r); });
  AddReference("level to nits, tables", "locks and copies",
               [](auto& c, auto& r) { return c.references.NitsWithLocksAndCopies(r); });
  AddReference("level to nits, tables", "peer", [](auto& c, auto& r) { return c.peer.Nits(r); });

  AddLibrary("nits to level, tables", [](auto& c, auto& r) { return c.plain.Level(r); });
  AddReference("nits to level, tables", "bare", [](auto& c, auto& r) { return LevelBy(c.references.points, r); });
  AddReference("nits to level, tables", "locks and copies",
               [](auto& c, auto& r) { return c.references.LevelWithLocksAndCopies(r); });
  AddReference("nits to level, tables", "peer", [](auto& c, auto& r) { return c.peer.Level(r); });

  AddLibrary("level to nits, maps", [](auto& c, auto& r) { return c.dimmed.Nits(r); });
  AddReference("level to nits, maps", "bare", [](auto& c, auto& r) { return NitsBy(c.references.maps, r); });
  AddReference("level to nits, maps", "locks and copies",
               [](auto& c, auto& r) { return c.references.MappedNitsWithLocksAndCopies(r); });
  AddReference("level to nits, maps", "peer", [](auto& c, auto& r) { return c.peer.MappedNits(r); });

  AddLibrary("nits to level, maps", [](auto& c, auto& r) { return c.dimmed.Level(r); });
  AddReference("nits to level, maps", "bare, locked",
               [](auto& c, auto& r) { return c.references.LockedMappedLevel(r); });
}

void AddWholeTables() {
  AddLibrary("dense table", [](auto& c, auto&) { return c.plain.Dense().size(); });
  AddReference("dense table", "bare", [](auto& c, auto&) { return DenseOf(c.all.plain.calibration.linear).size(); });
  AddReference("dense table", "locks and copies",
               [](auto& c, auto&) { return c.references.DenseWithLocksAndCopies().size(); });
  AddReference("dense table", "peer", [](auto& c, auto&) { return c.peer.Dense().size(); });

  AddLibrary("Init", [](auto& c, auto&) { return c.plain.Init(), 0; });
  AddReference("Init", "bare", [](auto& c, auto&) {
    tinyxml2::XMLDocument document;
    Require(document.LoadFile(c.all.plain.file.c_str()) == 0, "the file is XML");
    return 0;
  });

  AddLibrary("LUT update", [](auto& c, auto&) { return c.all.dimmed.SetLuts(), 0; });
  AddReference("LUT update", "bare", [](auto& c, auto&) { return c.references.BareLuts(), 0; });
  AddReference("LUT update", "locks and copies",
               [](auto& c, auto&) { return c.references.LutsWithLocksAndCopies(), 0; });
  AddReference("LUT update", "peer", [](auto& c, auto&) { return c.peer.Luts(), 0; });
}

/// Adds sampled curves and what a client could do instead: read its own array, search it, or ask the engine.
void AddCurves() {
  const auto add = [](const char* operation, const char* who, auto answer) {
    return Add(operation, who, answer)->ArgsProduct({{32}, {255, 4095}});
  };
  const auto curve_nits = [](auto& c, auto& r) { return c.all.curve.Nits(r.bl); };
  const auto curve_level = [](auto& c, auto& r) { return c.all.curve.Level(r.nits); };
  add("level to nits, curve", "library", curve_nits);
  add("level to nits, curve", "array", [](auto& c, auto& r) {
    return r.bl < c.all.array.size() ? c.all.array[r.bl] : std::numeric_limits<double>::quiet_NaN();
  });
  add("level to nits, curve", "engine, maps", [](auto& c, auto& r) { return c.dimmed.Nits({55, r.bl, 0.0}); });
  add("level to nits, curve", "peer", [](auto& c, auto& r) { return c.peer.Nits({55, r.bl, 0.0}); });
  add("nits to level, curve", "library", curve_level);
  add("nits to level, curve", "array", [](auto& c, auto& r) { return LevelIn(c.all.array, r.nits); });
  add("nits to level, curve", "engine, maps", [](auto& c, auto& r) { return c.dimmed.Level({55, 0, r.nits}); });
  // Long enough that starting the threads does not count.
  add("level to nits, curve", "threads", curve_nits)->ThreadRange(1, 2)->UseRealTime()->MinTime(0.4);
  add("nits to level, curve", "threads", curve_level)->ThreadRange(1, 2)->UseRealTime()->MinTime(0.4);

  add("sampling, tables", "library", [](auto& c, auto&) { return c.all.plain.client.Sample(55)->Size(); });
  add("sampling, maps", "library", [](auto& c, auto&) { return c.all.dimmed.client.Sample(55)->Size(); });
  const auto convert_all = [](Caller* caller, size_t levels) {
    double sum = 0.0;
    for (uint32_t level = 0; level < levels; ++level) {
      sum += caller->Nits({55, level, 0.0});
    }
    return sum;
  };
  add("sampling, tables", "conversions", [=](auto& c, auto&) { return convert_all(&c.plain, c.all.array.size()); });
  add("sampling, maps", "conversions", [=](auto& c, auto&) { return convert_all(&c.dimmed, c.all.array.size()); });
}

void AddThreads() {
  const auto add = [](const char* who, auto answer) {
    Add("level to nits, tables", who, answer)
        ->Args({32, 255})
        ->ThreadRange(1, kMaxThreads)
        ->UseRealTime()
        ->MinTime(0.4);
  };
  add("threads, one engine", [](auto& c, auto& r) { return c.plain.Nits(r); });
  add("threads, an engine each", [](auto& c, auto& r) { return c.own.Nits(r); });
}

}  // namespace
}  // namespace bench

// The panels' files are in a temporary folder, which becomes the working folder. --benchmark_out therefore needs an
// absolute path.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  std::string folder = std::filesystem::temp_directory_path() / "blnits.XXXXXX";
  std::filesystem::current_path(mkdtemp(folder.data()));
  bench::AddConversions();
  bench::AddWholeTables();
  bench::AddCurves();
  bench::AddThreads();
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(folder);
  return 0;
}
