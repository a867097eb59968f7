#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace fuzz {

/// Decodes choices and numbers from a fuzzer's input, from front to end; returns zeros after the end. Most numbers are
/// small, so that they often coincide; some are the ends of ranges.
class Bytes {
 public:
  Bytes(const uint8_t* data, size_t size) : next_(data), end_(data + size) {}

  bool Empty() const { return next_ == end_; }

  uint8_t Byte() { return Empty() ? uint8_t{0} : *next_++; }

  bool Flag() { return Byte() % 2 != 0; }

  /// A number from 0 to `end` - 1; `end` is 1 to 256.
  uint32_t Below(uint32_t end) { return Byte() % end; }

  /// A level for a table or a conversion, possibly out of range.
  uint32_t Level() {
    static constexpr uint32_t kRare[] = {255, 256, 1000, 1023, 1024, 2147483647};
    const uint32_t byte = Byte();
    return byte < 250 ? byte / 2 : kRare[byte - 250];
  }

  /// The highest level of a range, small enough for LUTs of that length.
  uint32_t HighestLevel() {
    static constexpr uint32_t kRare[] = {127, 128, 255, 256, 400, 1023};
    const uint32_t byte = Byte();
    return byte < 250 ? byte % 64 : kRare[byte - 250];
  }

  /// A luminance or a factor, possibly a senseless one.
  double Real() {
    using Limits = std::numeric_limits<double>;
    static constexpr double kRare[] = {-0.0,
                                       -1.0,
                                       0.1,
                                       4294967295.0,
                                       4294967296.0,
                                       Limits::max(),
                                       Limits::lowest(),
                                       Limits::denorm_min(),
                                       Limits::infinity(),
                                       -Limits::infinity(),
                                       Limits::quiet_NaN()};
    const uint32_t byte = Byte();
    if (byte == 255) {
      return AnyReal();
    }
    return byte < 244 ? byte / 4.0 : kRare[byte - 244];
  }

 private:
  double AnyReal() {
    unsigned char bytes[sizeof(double)];
    for (unsigned char& byte : bytes) {
      byte = Byte();
    }
    double number = 0.0;
    std::memcpy(&number, bytes, sizeof number);
    return number;
  }

  const uint8_t* next_;
  const uint8_t* end_;
};

}  // namespace fuzz
