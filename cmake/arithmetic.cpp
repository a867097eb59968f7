// arithmetic.cmake compiles and runs this program with the flags of the library. It exits with 0 if doubles are computed as
// IEEE 754 defines; otherwise it prints what the compiler does instead.
#include <cfloat>
#include <cmath>
#include <cstdio>

namespace {

struct Rule {
  bool kept;
  const char* otherwise;
};

// Volatile, so that the compiler neither knows the values nor assumes that two reads give the same value.
volatile double one = 1.0;
volatile double five = 5.0;
volatile double above_one = 1.0 + 1.0 / (1 << 30);
volatile double tiny = 1.0 / (1 << 30) / (1 << 30);
volatile double smallest_normal = DBL_MIN;
volatile double minus_zero = -0.0;
volatile double not_a_number = NAN;

}  // namespace

int main() {
  const double a = one;
  const double b = tiny;
  volatile double third = a / 3.0;
  volatile double square = above_one * above_one;
  const double nan = not_a_number;
  const Rule rules[] = {
      {FLT_EVAL_METHOD == 0, "keeps intermediate results in another precision (as by -mfpmath=387)"},
      {(a + b) - a == 0.0, "rearranges sums (as by -fassociative-math)"},
      {five / 3.0 != five * third, "makes a product of a division (as by -freciprocal-math)"},
      {above_one * above_one - square == 0.0, "fuses a product and a sum (as by -ffp-contract=fast)"},
      {!(nan == nan || nan < a || nan >= a), "takes NaN for a number (as by -ffinite-math-only)"},
      {!std::signbit(minus_zero + 0.0), "loses the sign of zero (as by -fno-signed-zeros)"},
      {smallest_normal / 2.0 > 0.0, "makes small numbers zero (as by linking with -ffast-math)"},
  };
  int broken = 0;
  for (const Rule& rule : rules) {
    if (!rule.kept) {
      std::printf("  %s\n", rule.otherwise);
      ++broken;
    }
  }
  return broken;
}
