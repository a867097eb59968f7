// Each allocation of each function of the C library fails in turn: the function returns its code and loses nothing.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include "backlight_nits.h"
#include "client.h"

// NOLINTBEGIN(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name): the system's functions
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);
}

namespace {

std::atomic<long> allowed{-1};  // Allocations until one fails; negative: none fails.
std::atomic<long> held{0};      // Allocations that are not freed yet.

}  // namespace

// The allocation functions of C++ and of the C library end up here. clang would hide them.
extern "C" __attribute__((visibility("default"))) void* malloc(size_t size) {
  if (allowed >= 0 && allowed-- == 0) {
    return nullptr;
  }
  void* const memory = __libc_malloc(size);
  held += memory != nullptr ? 1 : 0;
  return memory;
}
extern "C" __attribute__((visibility("default"))) void free(void* memory) {
  held -= memory != nullptr ? 1 : 0;
  __libc_free(memory);
}

// libc++ takes the memory of an exception from here. It has a reserve for the case that this fails.
extern "C" __attribute__((visibility("default"))) int posix_memalign(void** memory, size_t alignment, size_t size) {
  *memory = __libc_memalign(alignment, size);
  held += *memory != nullptr ? 1 : 0;
  return *memory != nullptr ? 0 : ENOMEM;
}
// NOLINTEND(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)

namespace {

/// Fails each allocation of `call` in turn, until it needs no more. Returns how many there are.
long FailEach(const char* name, const std::function<bln_status()>& call, const std::function<void()>& undo) {
  for (long n = 0;; ++n) {
    const long before = held;
    allowed = n;
    const bln_status status = call();
    const bool reached = allowed < 0;
    allowed = -1;
    if (status == BLN_OK) {
      undo();
    }
    EXPECT_EQ(held, before) << name << ", allocation " << n;
    if (!reached) {
      EXPECT_EQ(status, BLN_OK) << name << ": " << bln_last_error();
      return n;
    }
    EXPECT_EQ(status, BLN_NO_MEMORY) << name << ", allocation " << n << ": " << bln_last_error();
    EXPECT_STREQ(bln_last_error(), "out of memory");
  }
}

TEST(CAllocationFailure, IsACode) {
  const TemporaryFolder folder;
  // Small: if the XML reader's own list of memory blocks cannot grow, for about 350 values or more, it loses a block.
  WriteFile(FileName("p"), Calibration(10, 10).Text());
  bln_panel* panel = nullptr;
  ASSERT_EQ(bln_panel_open_file(nullptr, FileName("p").c_str(), &panel), BLN_OK);
  const std::vector<uint32_t> luts(11, 5);
  const std::vector<double> factors(11, 1.0);
  const auto set_luts = [&] { return bln_panel_set_dimming_luts(panel, luts.data(), 11, factors.data(), 11); };
  ASSERT_EQ(set_luts(), BLN_OK);

  bln_context* context = nullptr;
  bln_panel* opened = nullptr;
  bln_curve* curve = nullptr;
  double nits = 0.0;
  uint32_t level = 0;
  int enabled = 0;
  size_t count = 0;
  bln_range range;
  const auto nothing = [] {};
  struct Case {
    const char* name;
    std::function<bln_status()> call;
    std::function<void()> undo;
  };
  for (const auto& [name, call, undo] : {
           Case{"create", [&] { return bln_context_create(&context); },
                [&] { bln_context_free(std::exchange(context, nullptr)); }},
           {"open",
            [&] {
              bln_status status = bln_context_create(&context);
              status = status == BLN_OK ? bln_context_add_folder(context, "a folder with a long name") : status;
              status = status == BLN_OK ? bln_panel_open(context, "p", &opened) : status;
              bln_context_free(std::exchange(context, nullptr));
              return status;
            },
            [&] { bln_panel_free(opened); }},
           {"nits", [&] { return bln_panel_nits(panel, 5, 55, BLN_STANDARD, &nits); }, nothing},
           {"level", [&] { return bln_panel_level(panel, 5.0, 55, BLN_STANDARD, &level); }, nothing},
           {"range", [&] { return bln_panel_range(panel, &range); }, nothing},
           {"gamma", [&] { return bln_panel_gamma(panel, &nits); }, nothing},
           {"threshold", [&] { return bln_panel_threshold(panel, &nits); }, nothing},
           {"table", [&] { return bln_panel_table(panel, BLN_ONE_TENTH, BLN_STANDARD, nullptr, nullptr, 0, &count); },
            nothing},
           {"linear table", [&] { return bln_panel_linear_table(panel, nullptr, 0, &count); }, nothing},
           {"dimming", [&] { return bln_panel_dimming(panel, &enabled); }, nothing},
           {"set dimming", [&] { return bln_panel_set_dimming(panel, 0); }, nothing},
           {"set LUTs", set_luts, nothing},
           {"curve", [&] { return bln_curve_create(panel, 55, BLN_STANDARD, &curve); }, [&] { bln_curve_free(curve); }},
       }) {
    EXPECT_GT(FailEach(name, call, undo), 0) << name;
  }
  bln_panel_free(panel);
}

// A file that is refused needs memory for its reason.
TEST(CAllocationFailure, OfARefusedFileIsACode) {
  const TemporaryFolder folder;
  WriteFile("bad.xml", "<Calib_Data gamma='1'></Calib_Data>");
  bln_panel* panel = nullptr;
  bool reached = true;
  for (long n = 0; reached; ++n) {
    const long before = held;
    allowed = n;
    const bln_status status = bln_panel_open_file(nullptr, "bad.xml", &panel);
    reached = allowed < 0;
    allowed = -1;
    EXPECT_EQ(held, before) << "allocation " << n;
    // Looking at the encoding does without its buffer.
    EXPECT_TRUE(status == BLN_BAD_FILE || (reached && status == BLN_NO_MEMORY)) << "allocation " << n << ": " << status;
  }
}

}  // namespace
