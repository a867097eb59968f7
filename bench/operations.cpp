#include "operations.h"

#include <tinyxml2.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "references.h"
#ifdef BLNITS_PEER
#include "peer.h"
#endif

namespace bench {
namespace {

void ToNits(Panel* panel, benchmark::State& state) {
  Holding<zarn::BlBackLight> in;
  Holding<zarn::BlNitsValue> out;
  for (auto _ : state) {
    const Request& request = panel->Next();
    in->percentage = request.percentage;
    in->bl = request.bl;
    Panel::Check(panel->engine->ProcessOps(zarn::kBLToNits, in.payload, &out.payload));
    benchmark::DoNotOptimize(out->nits);
  }
}

void ToLevel(Panel* panel, benchmark::State& state) {
  Holding<zarn::BlNitsValue> in;
  Holding<zarn::BlNitsValue> out;
  for (auto _ : state) {
    const Request& request = panel->Next();
    in->percentage = request.percentage;
    in->nits = request.nits;
    Panel::Check(panel->engine->ProcessOps(zarn::kNitsToBL, in.payload, &out.payload));
    benchmark::DoNotOptimize(out->bl);
  }
}

void Dense(Panel* panel, benchmark::State& state) {
  for (auto _ : state) {
    Holding<zarn::BLLinearTable> table;
    Panel::Check(panel->engine->GetParameter(zarn::kBLLinearTable, &table.payload));
    benchmark::DoNotOptimize(table->entries.data());
  }
}

void Init(Panel* panel, benchmark::State& state) {
  for (auto _ : state) {
    Panel::Check(panel->engine->Init());
  }
}

void Luts(Panel* panel, benchmark::State& state) {
  for (auto _ : state) {
    panel->SetLuts();
  }
}

/// Times `answer` for one request after the other.
template <class Answer>
std::function<void(benchmark::State&)> ForRequests(Panel* panel, Answer answer) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      benchmark::DoNotOptimize(answer(panel->Next()));
    }
  };
}

template <class Fill>
std::function<void(benchmark::State&)> ForDense(Fill fill) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      LinearPairs dense;
      fill(&dense);
      benchmark::DoNotOptimize(dense.data());
    }
  };
}

template <class Run>
std::function<void(benchmark::State&)> Repeatedly(Run run) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
  };
}

void Require(bool same, const char* what) {
  if (!same) {
    std::fprintf(stderr, "a reference answers otherwise: %s\n", what);
    std::exit(1);
  }
}

/// What is compared must compute the same.
void CheckReferences(Panel* plain, Panel* dimmed, References* references) {
  Holding<zarn::BlBackLight> level;
  Holding<zarn::BlNitsValue> nits;
  Holding<zarn::BlNitsValue> out;
  for (int i = 0; i < 1000; ++i) {
    const Request& request = plain->Next();
    level->percentage = nits->percentage = request.percentage;
    level->bl = request.bl;
    nits->nits = request.nits;
    Panel::Check(plain->engine->ProcessOps(zarn::kBLToNits, level.payload, &out.payload));
    Require(out->nits == references->BareNits(request) && out->nits == references->MandatedNits(request), "nits");
    Panel::Check(plain->engine->ProcessOps(zarn::kNitsToBL, nits.payload, &out.payload));
    Require(out->bl == references->BareLevel(request) && out->bl == references->MandatedLevel(request), "level");
    Panel::Check(dimmed->engine->ProcessOps(zarn::kBLToNits, level.payload, &out.payload));
    Require(out->nits == references->MandatedMappedNits(request), "mapped nits");
    Panel::Check(dimmed->engine->ProcessOps(zarn::kNitsToBL, nits.payload, &out.payload));
    Require(out->bl == references->LockedMappedLevel(request), "mapped level");
  }
  Holding<zarn::BLLinearTable> table;
  Panel::Check(plain->engine->GetParameter(zarn::kBLLinearTable, &table.payload));
  LinearPairs dense;
  references->MandatedDense(&dense);
  Require(table->entries == dense, "dense table");
}

void RegisterReferences(uint32_t points, uint32_t levels, Panel* plain, References* references) {
  const auto add = [=](const char* operation, const char* variant, std::function<void(benchmark::State&)> run) {
    Register(operation, variant, points, levels, std::move(run));
  };
  using R = Request;
  add("level to nits, tables", "bare", ForRequests(plain, [=](const R& r) { return references->BareNits(r); }));
  add("level to nits, tables", "mandated", ForRequests(plain, [=](const R& r) { return references->MandatedNits(r); }));
  add("nits to level, tables", "bare", ForRequests(plain, [=](const R& r) { return references->BareLevel(r); }));
  add("nits to level, tables", "mandated",
      ForRequests(plain, [=](const R& r) { return references->MandatedLevel(r); }));
  add("level to nits, maps", "bare", ForRequests(plain, [=](const R& r) { return references->BareMappedNits(r); }));
  add("level to nits, maps", "mandated",
      ForRequests(plain, [=](const R& r) { return references->MandatedMappedNits(r); }));
  add("nits to level, maps", "bare, locked",
      ForRequests(plain, [=](const R& r) { return references->LockedMappedLevel(r); }));
  add("dense table", "bare", ForDense([=](LinearPairs* dense) { references->BareDense(dense); }));
  add("dense table", "mandated", ForDense([=](LinearPairs* dense) { references->MandatedDense(dense); }));
  add("Init", "bare", Repeatedly([=] {
        tinyxml2::XMLDocument document;
        Panel::Check(document.LoadFile(plain->file.c_str()));
      }));
  add("LUT update", "bare", Repeatedly([=] { references->BareLuts(); }));
  add("LUT update", "mandated", Repeatedly([=] { references->MandatedLuts(); }));
#ifdef BLNITS_PEER
  static std::vector<std::unique_ptr<Peer>> peers;
  auto* const peer = peers.emplace_back(std::make_unique<Peer>(*references)).get();
  add("level to nits, tables", "peer", ForRequests(plain, [=](const R& r) { return peer->Nits(r); }));
  add("nits to level, tables", "peer", ForRequests(plain, [=](const R& r) { return peer->Level(r); }));
  add("level to nits, maps", "peer", ForRequests(plain, [=](const R& r) { return peer->MappedNits(r); }));
  add("dense table", "peer", ForDense([=](LinearPairs* dense) { peer->Dense(dense); }));
  add("LUT update", "peer", Repeatedly([=] { peer->Luts(); }));
#endif
}

}  // namespace

const std::vector<Operation> kOperations = {
    {"level to nits, tables", false, ToNits},
    {"nits to level, tables", false, ToLevel},
    {"level to nits, maps", true, ToNits},
    {"nits to level, maps", true, ToLevel},
    {"dense table", false, Dense},
    {"Init", false, Init},
    {"LUT update", true, Luts},
};

Panel* NewPanel(uint32_t points, uint32_t max_os_bl, bool dimmed) {
  static std::vector<std::unique_ptr<Panel>> panels;
  Panel* const panel = panels.emplace_back(std::make_unique<Panel>(points, max_os_bl)).get();
  if (dimmed) {
    panel->Dim();
  }
  return panel;
}

benchmark::internal::Benchmark* Register(const std::string& name, const std::string& variant, uint32_t points,
                                         uint32_t levels, std::function<void(benchmark::State&)> run) {
  const std::string full = name + "/" + variant + "/" + std::to_string(points) + "/" + std::to_string(levels);
  return benchmark::RegisterBenchmark(full.c_str(), std::move(run));
}

void RegisterOperations() {
  static std::vector<std::unique_ptr<References>> all_references;
  for (const uint32_t points : {32U, 512U}) {
    for (const uint32_t levels : {255U, 4095U}) {
      Panel* const plain = NewPanel(points, levels, false);
      Panel* const dimmed = NewPanel(points, levels, true);
      auto* const references = all_references.emplace_back(std::make_unique<References>(*plain)).get();
      CheckReferences(plain, dimmed, references);
      for (const Operation& operation : kOperations) {
        Panel* const panel = operation.dimmed ? dimmed : plain;
        Register(operation.name, "library", points, levels,
                 [=](benchmark::State& state) { operation.run(panel, state); });
      }
      RegisterReferences(points, levels, plain, references);
    }
  }
}

}  // namespace bench
