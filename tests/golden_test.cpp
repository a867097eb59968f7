// One digest of all conversion results. Every compiler, standard library and processor must give the same digest;
// otherwise a bit of some result differs.
#include <algorithm>
#include <cmath>
#include <iostream>

#include "client.h"

namespace {

using namespace zarn;

class Golden : public Client {
 protected:
  /// splitmix64: the standard's distributions differ between standard libraries.
  uint32_t Below(uint64_t end) {
    uint64_t z = random_ += 0x9e3779b97f4a7c15;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return static_cast<uint32_t>((z ^ (z >> 31)) % end);
  }

  // Kinds of numbers: 0 usual, 1 one of a few, 2 extreme.
  uint32_t Level(int kind) { return Below(kind == 0 ? 1024 : kind == 1 ? 8 : 1ULL << 32); }
  double Luminance(int kind) {
    constexpr double kExtreme[] = {0.0, -1.0, 1e300, 1.7e308, 5e-324, HUGE_VAL, -HUGE_VAL, NAN};
    return kind == 0 ? Below(1000000) / 1000.0 : kind == 1 ? Below(8) / 3.0 : kExtreme[Below(8)];
  }

  /// A table of such numbers; kind 3 is a rising table.
  Points Table(int kind) {
    Points points(Below(16));
    for (uint32_t i = 0; i < points.size(); ++i) {
      points[i] = {kind < 3 ? Level(kind) : 70 * i + Below(70), kind < 3 ? Luminance(kind) : 3 * i + Luminance(1)};
    }
    return points;
  }

  /// Adds a value to the digest (FNV-1a).
  void Add(uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) {
      digest_ = (digest_ ^ (value >> shift & 0xff)) * 0x100000001b3;
    }
  }

  template <class Request>
  void Convert(BLNitOps op, const Request& request) {
    const Holding<Request> in(request);
    Holding<BlNitsValue> out({1, 2, 3, -4.0, !request.hdr});
    Add(static_cast<uint64_t>(engine_->ProcessOps(op, in.payload, &out.payload)));
    uint64_t nits = 0x7ff8000000000000;  // All NaNs count as one: their sign and payload depend on the processor.
    if (!std::isnan(out->nits)) {
      std::memcpy(&nits, &out->nits, sizeof nits);
    }
    Add(nits);
    Add(uint64_t{out->percentage} << 32 | out->bl);
    Add(uint64_t{out->size} << 1 | out->hdr);
    ++calls_;
  }

  void ConvertAtAllCoverages(uint32_t max_os_bl) {
    for (uint32_t percentage = 0; percentage <= 101; ++percentage) {
      for (int i = 0; i < 40; ++i) {
        const bool hdr = i % 2 == 1;
        const uint32_t bl[] = {Below(max_os_bl + 1), 0, Below(max_os_bl + 1), max_os_bl, Below(max_os_bl) + 2};
        Convert(kBLToNits, BlBackLight{16, percentage, bl[i % 5], hdr});
        Convert(kNitsToBL, BlNitsValue{32, percentage, 0, Luminance(i % 3), hdr});
      }
    }
  }

  uint64_t random_ = 0;
  uint64_t digest_ = 0xcbf29ce484222325;
  int calls_ = 0;
};

TEST_F(Golden, ResultsAreTheSameEverywhere) {
  display::debug_handler_ = nullptr;
  for (int turn = 0; turn < 16; ++turn) {
    const uint32_t max_bl = 1 + Below(1023);
    const uint32_t max_os_bl = 1 + Below(1023);
    Calibration calibration(max_bl, max_os_bl);
    calibration.linear = {{0, Level(0)}};
    for (Points* table :
         {&calibration.standard_100, &calibration.standard_10, &calibration.hbm_100, &calibration.hbm_10}) {
      *table = Table(turn % 4);
      calibration.linear.push_back({calibration.linear.back().first + Below(300) + 1, Level(turn % 3)});
    }
    Open(calibration);
    ConvertAtAllCoverages(max_os_bl);
    const auto dense = Got<BLLinearTable>(*engine_, kBLLinearTable);
    for (const auto& [linear, panel] : dense->entries) {
      Add(uint64_t{linear} << 32 | panel);
    }
    std::vector<uint32_t> lut(max_bl + 1);
    std::generate(lut.begin(), lut.end(), [this] { return Level(0); });
    std::vector<double> attenuation(max_os_bl + 1);
    std::generate(attenuation.begin(), attenuation.end(), [this, turn] { return Luminance(turn % 3); });
    Add(SetLuts(lut, attenuation) == "0");
    Dim(true);
    ConvertAtAllCoverages(max_os_bl);
  }
  std::cout << calls_ << " calls, digest 0x" << std::hex << digest_ << std::dec << "\n";
  EXPECT_EQ(digest_, 0x1c6be3df538ec903);
}

}  // namespace
