#include <gtest/gtest.h>

#include "client.h"
#include "log_lines.h"

namespace {

using zarn::GenericPayload;

/// Counts its living instances.
struct Counted {
  Counted() { ++alive; }
  Counted(const Counted& other) : value(other.value) { ++alive; }
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive; }

  static inline int alive = 0;
  int value = 7;
};

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

TEST(Payload, OwnsOneRecordAndFreesItOnce) {
  {
    GenericPayload payload;
    Counted* first = nullptr;
    EXPECT_EQ(payload.CreatePayload(first), 0);
    Counted* second = first;
    EXPECT_EQ(payload.CreatePayload(second), -114);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(payload.CopyPayload(*first), -114);

    Counted* held = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(payload.GetPayload(held, count), 0);
    EXPECT_EQ(held, first);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
  {
    Counted source;
    source.value = 8;
    GenericPayload payload;
    EXPECT_EQ(payload.CopyPayload(source), 0);
    Counted* held = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(payload.GetPayload(held, count), 0);
    EXPECT_NE(held, &source);
    EXPECT_EQ(held->value, 8);
    EXPECT_EQ(Counted::alive, 2);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(Payload, ChecksTheSizeAndNothingElse) {
  LogLines log;
  uint32_t count = 5;
  zarn::BLRange* range = nullptr;
  EXPECT_EQ(GenericPayload().GetPayload(range, count), -22);

  Holding<zarn::BLRange> held;
  zarn::BLLinearTable* table = nullptr;
  EXPECT_EQ(held.payload.GetPayload(table, count), -22);
  EXPECT_EQ(count, 5U) << "untouched on failure";
  zarn::BLGamma* gamma = nullptr;
  EXPECT_EQ(held.payload.GetPayload(gamma, count), 0) << "as large as a BLRange";
  EXPECT_EQ(log.Take(), Lines());
}

TEST(Payload, SaysHowAMissingRecordShouldHaveComeThere) {
  LogLines log;
  GenericPayload payload;
  Poke(&payload, offsetof(PayloadLayout, type_size), uint32_t{sizeof(zarn::BLRange)});
  zarn::BLRange* range = nullptr;
  uint32_t count = 0;
  EXPECT_EQ(payload.GetPayload(range, count), -12);
  Poke(&payload, offsetof(PayloadLayout, copied), true);
  EXPECT_EQ(payload.GetPayload(range, count), -12);
  EXPECT_EQ(log.Take(), (Lines{"E GenericPayload::GetPayload:Payload was not properlycreated via CreatePayload",
                               "E GenericPayload::GetPayload:Payload was not properlycopied via CopyPayload"}));
  display::DebugHandler* const handler = std::exchange(display::debug_handler_, nullptr);
  EXPECT_EQ(payload.GetPayload(range, count), -12) << "without a log";
  display::debug_handler_ = handler;
}

TEST(Records, StartEmptyWithTheirOwnSize) {
  const zarn::BackLightToNitsTable table;
  EXPECT_EQ(table.size, sizeof table);
  EXPECT_EQ(table.percentage, 0U);
  EXPECT_TRUE(table.points.empty());
  const zarn::DimmingLuts luts;
  EXPECT_EQ(luts.size, sizeof luts);
  EXPECT_EQ(luts.dimming_bl_lut, nullptr);
  EXPECT_EQ(luts.pcc_attn_lut, nullptr);
  EXPECT_EQ(zarn::BLPccThresh().pcc_thresh, 0.0);
  EXPECT_EQ(zarn::BlBackLight().size, sizeof(zarn::BlBackLight));
}

}  // namespace
