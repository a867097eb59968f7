#include "operations.h"

namespace bench {

void RegisterGrowth() {
  const auto grow = [](const char* what, uint32_t points, uint32_t levels) {
    for (const Operation& operation : kOperations) {
      Panel* const panel = NewPanel(points, levels, operation.dimmed);
      Register(operation.name, what, points, levels, [=](benchmark::State& state) { operation.run(panel, state); });
    }
  };
  for (const uint32_t points : {8U, 32U, 128U, 512U, 2048U}) {
    grow("points grow", points, 4095);
  }
  for (const uint32_t levels : {63U, 255U, 1023U, 4095U, 16383U}) {
    grow("levels grow", 32, levels);
  }
}

}  // namespace bench
