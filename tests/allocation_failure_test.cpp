// Replaces the allocation functions; the n-th allocation fails.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

#include "client.h"

namespace {

std::atomic<long> allowed{-1};  // Remaining allocations before one fails; negative: none fails.

}  // namespace

// Without noinline, gcc warns that malloc and free do not match new and delete.
__attribute__((noinline)) void* operator new(size_t size) {
  if (allowed >= 0 && allowed-- == 0) {
    throw std::bad_alloc();
  }
  return std::malloc(size);  // NOLINT(cppcoreguidelines-no-malloc)
}
void* operator new[](size_t size) { return operator new(size); }
// Never fails: the standard library uses it for buffers that it can do without.
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept { return std::malloc(size); }
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t /*size*/) noexcept { operator delete(memory); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, size_t /*size*/) noexcept { operator delete(memory); }

namespace {

using namespace zarn;

constexpr int kCompleted = 0;
constexpr int kTerminated = 42;
constexpr int kThrown = 43;
constexpr int kOutOfReach = 44;

class AllocationFailure : public Client {
 protected:
  /// Runs `call` in a child process, makes its n-th allocation fail, and returns how the process ends.
  int EndWhenFails(long n, const std::function<int()>& call) {
    const pid_t child = fork();
    if (child == 0) {
      std::set_terminate([] { _exit(kTerminated); });
      try {
        allowed = n;
        const int ret = call();
        _exit(allowed >= 0 ? kOutOfReach : ret == 0 ? kCompleted : 1);
      } catch (...) {
        _exit(kThrown);
      }
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// Makes each allocation of `call` fail in turn. Returns the number of allocations.
  long FailEach(const std::function<int()>& call) {
    for (long n = 0;; ++n) {
      const int end = EndWhenFails(n, call);
      if (end == kOutOfReach) {
        return n;
      }
      EXPECT_TRUE(end == kTerminated || end == kCompleted) << "allocation " << n << " ends with " << end;
    }
  }
};

// A failed allocation either does no harm or ends the process at once. The library never throws at the client.
TEST_F(AllocationFailure, EndsTheProcess) {
  Open(Calibration(10, 10));
  display::debug_handler_ = nullptr;
  std::vector<uint32_t> bl(11, 5);
  std::vector<double> pcc(11, 1.0);
  const Holding<DimmingLuts> luts({sizeof(DimmingLuts), 11, bl.data(), 11, pcc.data()});
  const Holding<BlBackLight> level({sizeof(BlBackLight), 55, 5, false});
  const Holding<BlNitsValue> nits({sizeof(BlNitsValue), 55, 0, 5.0, false});
  Holding<BlNitsValue> out;
  Holding<BLLinearTable> linear;
  const std::string other = "other";
  EXPECT_GT(FailEach([&] { return engine_->Init(); }), 20);
  EXPECT_GT(FailEach([&] { return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(other) ? 0 : 1; }), 2);
  const auto set_luts = [&] { return engine_->SetParameter(kBLDimmingLuts, luts.payload); };
  EXPECT_EQ(FailEach(set_luts), 4 * (4 + 1)) << "four for each map, and the map itself";
  // A conversion: two records and two arrays of points. A dense table: two for the parser's copy, one for the caller's
  // vector.
  EXPECT_EQ(FailEach([&] { return engine_->ProcessOps(kBLToNits, level.payload, &out.payload); }), 4);
  EXPECT_EQ(FailEach([&] { return engine_->ProcessOps(kNitsToBL, nits.payload, &out.payload); }), 4);
  EXPECT_EQ(FailEach([&] { return engine_->GetParameter(kBLLinearTable, &linear.payload); }), 2 + 1);
  // If the maps have their size already, an update takes four allocations for each map, and a conversion none.
  ASSERT_EQ(set_luts(), 0);
  EXPECT_EQ(FailEach(set_luts), 4 * 4);
  const Holding<BLDimmingStatus> on({sizeof(BLDimmingStatus), true});
  ASSERT_EQ(engine_->SetParameter(kBLDimmingStatus, on.payload), 0);
  EXPECT_EQ(FailEach([&] { return engine_->ProcessOps(kBLToNits, level.payload, &out.payload); }), 0);
  EXPECT_EQ(FailEach([&] { return engine_->ProcessOps(kNitsToBL, nits.payload, &out.payload); }), 0);
}

// Neither a request to a curve nor a copy of it allocates.
TEST_F(AllocationFailure, IsNothingToACurve) {
  Open(Calibration(10, 10));
  const client::Curve curve = client::Panel::Attach(engine_)->Sample(55).value();
  const client::Curve falling({3.0, 2.0, 1.0});
  EXPECT_EQ(EndWhenFails(0,
                         [&] {
                           const client::Curve copy = falling;  // NOLINT(performance-unnecessary-copy-initialization)
                           const bool right = curve.Level(curve.Nits(7)) == 7 && copy.Level(copy.Nits(1)) == 1;
                           return right && std::isnan(copy.Nits(3)) ? 0 : 1;
                         }),
            kOutOfReach);
}

}  // namespace
