#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "panel.h"

namespace bench {

/// One of the library's operations, as a client calls it again and again.
struct Operation {
  const char* name;
  bool dimmed;
  void (*run)(Panel* panel, benchmark::State& state);
};

extern const std::vector<Operation> kOperations;

/// A panel that lives until the process ends.
Panel* NewPanel(uint32_t points, uint32_t max_os_bl, bool dimmed);

/// "name/variant/points/levels": so the report finds what belongs together.
benchmark::internal::Benchmark* Register(const std::string& name, const std::string& variant, uint32_t points,
                                         uint32_t levels, std::function<void(benchmark::State&)> run);

/// Every operation beside its references, on panels with few and many points and levels.
void RegisterOperations();

/// Every operation as points and levels grow.
void RegisterGrowth();

/// A conversion from several threads, on one engine and on engines of their own.
void RegisterContention();

/// Sampled curves beside plain arrays and the engine.
void RegisterCurves();

}  // namespace bench
