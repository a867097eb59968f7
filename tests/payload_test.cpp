#include "client.h"

namespace {

using zarn::GenericPayload;

// Clients are built with these layouts: a change breaks every one of them.
#if defined(__LP64__) && defined(__GLIBCXX__)
static_assert(sizeof(GenericPayload) == 64);
static_assert(offsetof(PayloadLayout, data) == 8 && offsetof(PayloadLayout, count) == 16);
static_assert(offsetof(PayloadLayout, release) == 24 && offsetof(PayloadLayout, copied) == 56);
static_assert(sizeof(zarn::BLLinearTable) == 32 && sizeof(zarn::BackLightToNitsTable) == 32);
static_assert(sizeof(zarn::BlNitsValue) == 32 && sizeof(zarn::DimmingLuts) == 32);
static_assert(sizeof(zarn::BLRange) == 16 && sizeof(zarn::BlBackLight) == 16 && sizeof(zarn::BLGamma) == 16);
static_assert(sizeof(zarn::BLDimmingStatus) == 8 && offsetof(zarn::BlNitsValue, nits) == 16);
#endif

/// Counts its living instances.
struct Counted {
  explicit Counted(int number = 7) : value(number) { ++alive; }
  Counted(const Counted& other) : Counted(other.value) {}
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive; }

  static inline int alive = 0;
  int value;
};

TEST(Payload, OwnsOneRecordAndFreesItOnce) {
  const Counted source(8);
  for (const bool copy : {false, true}) {
    GenericPayload payload;
    Counted* held = nullptr;
    EXPECT_EQ(copy ? payload.CopyPayload(source) : payload.CreatePayload(held), 0);
    uint32_t count = 0;
    EXPECT_EQ(payload.GetPayload(held, count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(held->value, copy ? 8 : 7);
    EXPECT_NE(held, &source);
    Counted* second = held;
    EXPECT_EQ(payload.CreatePayload(second), -114);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(payload.CopyPayload(source), -114);
    EXPECT_EQ(Counted::alive, 2);
  }
  EXPECT_EQ(Counted::alive, 1);
}

TEST(Payload, ChecksTheSizeAndThatARecordIsThere) {
  LogLines log;
  uint32_t count = 5;
  zarn::BLLinearTable* table = nullptr;
  EXPECT_EQ(GenericPayload().GetPayload(table, count), -22);
  Holding<zarn::BLRange> held;
  EXPECT_EQ(held.payload.GetPayload(table, count), -22);
  EXPECT_EQ(log.With("silent"), "silent");
  EXPECT_EQ(count, 5U) << "untouched on failure";
  zarn::BLGamma* as_large = nullptr;
  EXPECT_EQ(held.payload.GetPayload(as_large, count), 0);

  GenericPayload lost;
  Poke(&lost, 0, uint32_t{sizeof(zarn::BLLinearTable)});
  EXPECT_EQ(log.With(lost.GetPayload(table, count)),
            "-12 | E GenericPayload::GetPayload:Payload was not properlycreated via CreatePayload");
  Poke(&lost, offsetof(PayloadLayout, copied), true);
  EXPECT_EQ(log.With(lost.GetPayload(table, count)),
            "-12 | E GenericPayload::GetPayload:Payload was not properlycopied via CopyPayload");
  display::DebugHandler* const handler = std::exchange(display::debug_handler_, nullptr);
  EXPECT_EQ(lost.GetPayload(table, count), -12) << "without a log";
  display::debug_handler_ = handler;
}

TEST(Records, StartEmptyWithTheirOwnSize) {
  const zarn::BackLightToNitsTable table;
  EXPECT_TRUE(table.size == sizeof table && table.percentage == 0 && table.points.empty());
  const zarn::DimmingLuts luts;
  EXPECT_TRUE(luts.size == sizeof luts && luts.dimming_bl_lut == nullptr && luts.pcc_attn_lut == nullptr);
  EXPECT_EQ(zarn::BLPccThresh().pcc_thresh, 0.0);
}

}  // namespace
